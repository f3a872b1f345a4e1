// How much memory the process may use: it fails with a message before the system kills something.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace kxcontour {

/// How many bytes can still be had: what the machine has left, swap included, and what every group
/// of processes that this one is in has left of its own limit. None where the system does not say.
///
/// root: where the system's own files are, for tests.
std::optional<std::uint64_t> AvailableMemory(const std::filesystem::path& root = "/");

/// Allocations fail beyond so many bytes of data in all, unless a lower limit is set already; no
/// other limit is changed. Does nothing in builds with a sanitizer, which reserve far more.
void LimitMemory(std::uint64_t bytes);

/// Limits memory to most of what is available, so that a drawing that is too large ends with a
/// message rather than with the system's killing this process, or another one.
void LimitMemoryToAvailable();

} // namespace kxcontour
