// Times every stage of a drawing on scenes made in memory:
//
//     kxcontour_bench [--scenes=NAMES] [--growth=FIRST-LAST] [options of Google Benchmark]
//     kxcontour_bench --worst[=NAMES] [--worst-size=N]
//
// NAMES, separated by commas, are those of bench_make_model; by default boxes1000, planks, gears
// and sphere6. Benchmarks are named Stage/scene, and Everything/scene/aligned for a scene seen
// along its axes; --growth adds Growth/triangles for spheres of FIRST to LAST subdivisions. Times
// are processor seconds of the stage alone (the column "Time"; "CPU" includes preparation).
// peak_bytes_per_triangle is the peak memory of the library, without the meshes and the results of
// earlier stages.
//
// --worst prints a table of scenes whose triangles are all at one position, each at a quarter, a
// half and all of its largest size or of N triangles: the time of everything, and the power of the
// size by which it grows from line to line. NAMES are those of the table.
#include "bench/Stages.h"
#include "bench/Worst.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

using bench::Run;
using bench::Stages;
using bench::View;

struct NamedStage {
    const char* name;
    Run (Stages::*run)();
};

constexpr NamedStage kStages[] = {
    {"Bake", &Stages::bake},
    {"Tree", &Stages::tree},
    {"Creases", &Stages::creases},
    {"Silhouettes", &Stages::silhouettes},
    {"CommonLines", &Stages::commonLines},
    {"Occlusion", &Stages::occlusion},
    {"Intersections", &Stages::intersections},
    {"Chaining", &Stages::chaining},
    {"Svg", &Stages::svg},
    {"Everything", &Stages::everything},
};

/// The stages of a scene. Benchmarks run scene by scene, and only one scene is kept.
Stages& StagesOf(const std::string& scene, View view) {
    static std::unique_ptr<Stages> stages;
    static std::string known;
    const std::string wanted = scene + (view == View::Aligned ? "/aligned" : "");
    if (known != wanted) {
        stages.reset();
        stages = std::make_unique<Stages>(bench::MakeSubject(bench::MakeScene(scene), view));
        known = wanted;
    }
    return *stages;
}

void RunStage(benchmark::State& state, Run (Stages::*stage)(), Stages& stages) {
    Run run{};
    for (auto _ : state) {
        run = (stages.*stage)();
        state.SetIterationTime(run.cost.seconds);
    }
    const auto triangles = static_cast<double>(stages.subject().triangles);
    for (const bench::Counter& counter : run.counters) {
        state.counters[counter.name] = counter.value;
    }
    state.counters["triangles"] = triangles;
    state.counters["peak_bytes_per_triangle"] = static_cast<double>(run.cost.peakBytes) / triangles;
    state.SetComplexityN(static_cast<std::int64_t>(stages.subject().triangles));
}

void Register(const std::string& name,
              const NamedStage& stage,
              const std::string& scene,
              View view) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [scene, view, run = stage.run](benchmark::State& state) {
                                     RunStage(state, run, StagesOf(scene, view));
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void RegisterScene(const std::string& scene) {
    for (const NamedStage& stage : kStages) {
        Register(std::string(stage.name) + "/" + scene, stage, scene, View::Turned);
    }
    Register("Everything/" + scene + "/aligned", std::end(kStages)[-1], scene, View::Aligned);
}

void RegisterGrowth(int first, int last) {
    benchmark::RegisterBenchmark(
        "Growth",
        [](benchmark::State& state) {
            RunStage(state, &Stages::everything,
                     StagesOf("sphere" + std::to_string(state.range(0)), View::Turned));
        })
        ->DenseRange(first, last)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Complexity(benchmark::oN);
}

/// Removes the argument "--name=VALUE" and returns its value.
std::string TakeOption(std::vector<char*>& arguments, const std::string& name) {
    const std::string start = "--" + name + "=";
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const std::string text = *argument;
        if (text.compare(0, start.size(), start) == 0) {
            arguments.erase(argument);
            return text.substr(start.size());
        }
    }
    return "";
}

void RegisterScenes(const std::string& names) {
    std::istringstream words(names);
    std::string name;
    while (std::getline(words, name, ',')) {
        RegisterScene(name);
    }
}

void RegisterGrowth(const std::string& range) {
    int first = 0;
    int last = 0;
    const char* end = range.data() + range.size();
    const auto [dash, error] = std::from_chars(range.data(), end, first);
    if (error != std::errc() || dash == end || *dash != '-' ||
        std::from_chars(dash + 1, end, last).ptr != end || first > last || last > 12) {
        throw std::invalid_argument("--growth takes a range such as 6-9, up to 12");
    }
    RegisterGrowth(first, last);
}

/// Removes the argument; returns whether it was present.
bool TakeFlag(std::vector<char*>& arguments, const std::string& flag) {
    const auto found = std::find(arguments.begin(), arguments.end(), flag);
    const bool isThere = found != arguments.end();
    if (isThere) {
        arguments.erase(found);
    }
    return isThere;
}

/// The value of --worst-size, 0 if not given.
unsigned int SizeOf(const std::string& text) {
    unsigned int size = 0;
    const char* end = text.data() + text.size();
    if (!text.empty() &&
        (std::from_chars(text.data(), end, size).ptr != end || size < bench::kLeastWorstSize)) {
        throw std::invalid_argument("--worst-size takes a number of triangles, at least " +
                                    std::to_string(bench::kLeastWorstSize));
    }
    return size;
}

int RunAll(std::vector<char*> arguments) {
    const std::string worst = TakeOption(arguments, "worst");
    const std::string worstSize = TakeOption(arguments, "worst-size");
    if (TakeFlag(arguments, "--worst") || !worst.empty()) {
        bench::PrintWorst(worst, SizeOf(worstSize));
        return 0;
    }
    const std::string scenes = TakeOption(arguments, "scenes");
    const std::string growth = TakeOption(arguments, "growth");
    if (!growth.empty()) {
        RegisterGrowth(growth);
    }
    if (!scenes.empty() || growth.empty()) {
        RegisterScenes(scenes.empty() ? "boxes1000,planks,gears,sphere6" : scenes);
    }
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return RunAll({argv, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "kxcontour_bench: " << error.what() << "\n";
        return 1;
    }
}
