// Pixels by cairo.
#include "Ink.h"

#include <algorithm>
#include <cairo.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace tool_test {
namespace {

/// Of 255. A line half a pixel wide leaves half of that in two pixels at the worst.
constexpr unsigned char kStrong = 90;
constexpr unsigned char kWeak = 5;

constexpr double kInch = 25.4;

unsigned char DarknessOf(std::uint32_t pixel) {
    const std::uint32_t sum = (pixel >> 16U & 0xFFU) + (pixel >> 8U & 0xFFU) + (pixel & 0xFFU);
    return static_cast<unsigned char>(255U - sum / 3U);
}

} // namespace

Ink::Ink(const std::string& png) {
    const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface(
        cairo_image_surface_create_from_png(png.c_str()), &cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("no picture: " + png);
    }
    width_ = cairo_image_surface_get_width(surface.get());
    height_ = cairo_image_surface_get_height(surface.get());
    darkness_.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
    const unsigned char* data = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, data + std::ptrdiff_t{y} * stride + std::ptrdiff_t{x} * 4, 4);
            at(x, y) = DarknessOf(pixel);
        }
    }
}

bool Ink::isStrong(int x, int y) const {
    return at(x, y) >= kStrong;
}

std::size_t Ink::strongCount() const {
    return static_cast<std::size_t>(std::count_if(darkness_.begin(), darkness_.end(),
                                                  [](unsigned char c) { return c >= kStrong; }));
}

bool Ink::hasWeakBeside(int x, int y) const {
    for (int v = std::max(0, y - 1); v <= std::min(height_ - 1, y + 1); ++v) {
        for (int u = std::max(0, x - 1); u <= std::min(width_ - 1, x + 1); ++u) {
            if (at(u, v) >= kWeak) {
                return true;
            }
        }
    }
    return false;
}

std::size_t Ink::strayFrom(const Ink& other) const {
    std::size_t count = 0;
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            count += isStrong(x, y) && !other.hasWeakBeside(x, y) ? 1 : 0;
        }
    }
    return count;
}

PageBox Ink::bounds(double dpi) const {
    PageBox box{1e9, 1e9, -1e9, -1e9};
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            if (isStrong(x, y)) {
                box.left = std::min(box.left, x * kInch / dpi);
                box.top = std::min(box.top, y * kInch / dpi);
                box.right = std::max(box.right, (x + 1) * kInch / dpi);
                box.bottom = std::max(box.bottom, (y + 1) * kInch / dpi);
            }
        }
    }
    return box;
}

void Ink::add(const Ink& other) {
    if (other.width_ != width_ || other.height_ != height_) {
        throw std::runtime_error("pictures of different sizes");
    }
    for (std::size_t i = 0; i < darkness_.size(); ++i) {
        darkness_[i] = std::max(darkness_[i], other.darkness_[i]);
    }
}

} // namespace tool_test
