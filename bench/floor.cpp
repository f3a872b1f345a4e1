// A practical lower bound for any line drawing: the time of a BVH over all triangles, built by
// Embree, plus a radix sort of their edges as 64-bit keys. On one thread.
//
//     bench_floor MODEL.obj
#include "bench/ObjFile.h"

#include <algorithm>
#include <chrono>
#include <embree3/rtcore.h>
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>

namespace {

using bench::Part;
using bench::Point;
using bench::Scene;
using bench::Triangle;
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// All parts as one mesh.
Part Joined(const Scene& scene) {
    Part joined;
    for (const Part& part : scene) {
        const auto first = static_cast<std::uint32_t>(joined.positions.size());
        joined.positions.insert(joined.positions.end(), part.positions.begin(),
                                part.positions.end());
        for (const Triangle& t : part.triangles) {
            joined.triangles.push_back({first + t[0], first + t[1], first + t[2]});
        }
    }
    return joined;
}

template <class Element>
void Fill(RTCGeometry geometry,
          RTCBufferType type,
          RTCFormat format,
          const std::vector<Element>& elements) {
    void* buffer =
        rtcSetNewGeometryBuffer(geometry, type, 0, format, sizeof(Element), elements.size());
    if (buffer == nullptr) {
        throw std::runtime_error("no memory for a buffer");
    }
    std::copy(elements.begin(), elements.end(), static_cast<Element*>(buffer));
}

double SecondsOfTree(const Part& joined) {
    RTCDevice device = rtcNewDevice("threads=1");
    RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    Fill<Point>(geometry, RTC_BUFFER_TYPE_VERTEX, RTC_FORMAT_FLOAT3, joined.positions);
    Fill<Triangle>(geometry, RTC_BUFFER_TYPE_INDEX, RTC_FORMAT_UINT3, joined.triangles);
    rtcCommitGeometry(geometry);
    RTCScene scene = rtcNewScene(device);
    rtcAttachGeometry(scene, geometry);
    const Clock::time_point start = Clock::now();
    rtcCommitScene(scene);
    const double seconds = SecondsSince(start);
    const RTCError error = rtcGetDeviceError(device);
    rtcReleaseScene(scene);
    rtcReleaseGeometry(geometry);
    rtcReleaseDevice(device);
    if (error != RTC_ERROR_NONE) {
        throw std::runtime_error("no tree was built");
    }
    return seconds;
}

using Keys = std::vector<std::uint64_t>;

/// The vertices of each edge of each triangle, the smaller one in the upper half.
Keys EdgeKeys(const std::vector<Triangle>& triangles) {
    Keys keys;
    keys.reserve(3 * triangles.size());
    for (const Triangle& t : triangles) {
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const auto [low, high] = std::minmax(t[corner], t[(corner + 1) % 3]);
            keys.push_back(std::uint64_t{low} << 32U | high);
        }
    }
    return keys;
}

/// One pass over eight bits, skipped if they are equal in all keys.
void SortByDigit(Keys& keys, Keys& scratch, unsigned int shift) {
    std::array<std::size_t, 257> ends{};
    for (const std::uint64_t key : keys) {
        ++ends[(key >> shift & 255U) + 1];
    }
    if (std::find(ends.begin(), ends.end(), keys.size()) != ends.end()) {
        return;
    }
    for (std::size_t digit = 1; digit < ends.size(); ++digit) {
        ends[digit] += ends[digit - 1];
    }
    for (const std::uint64_t key : keys) {
        scratch[ends[key >> shift & 255U]++] = key;
    }
    keys.swap(scratch);
}

double SecondsOfSort(const Part& joined) {
    Keys keys = EdgeKeys(joined.triangles);
    Keys scratch(keys.size());
    const Clock::time_point start = Clock::now();
    for (unsigned int shift = 0; shift < 64; shift += 8) {
        SortByDigit(keys, scratch, shift);
    }
    const double seconds = SecondsSince(start);
    if (!std::is_sorted(keys.begin(), keys.end())) {
        throw std::logic_error("the keys are not sorted");
    }
    return seconds;
}

int Run(const std::string& path) {
    const Part joined = Joined(bench::ReadObj(path));
    const double tree = SecondsOfTree(joined);
    const double sort = SecondsOfSort(joined);
    std::cout << std::fixed << std::setprecision(6) << "BENCH tree " << tree << "\nBENCH sort "
              << sort << "\nBENCH seconds " << tree + sort << "\n";
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: bench_floor MODEL.obj\n";
        return 2;
    }
    try {
        return Run(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << "bench_floor: " << error.what() << "\n";
        return 1;
    }
}
