// Reads a model in a process of its own, so that a damaged file cannot take the tool down.
#pragma once

#include "model/Model.h"
#include "model/ModelRequest.h"

#include <chrono>

namespace kxcontour {

/// What an importer may take. Its memory is limited as well: 4 GiB of address space and 64 times
/// the size of the file, or less where the process itself has less.
struct ImportLimits {
    std::chrono::seconds work{60};         ///< Time of a processor, 1 at least.
    std::chrono::milliseconds time{60000}; ///< Time on the wall, from start to end.
};

/// ReadModel() in a child process.
///
/// Importers are large and files come from anywhere: one that crashes, that goes beyond a limit or
/// that waits for something ends in the same Failure (Unreadable) as any other bad file, and
/// whatever it prints is lost. Standard input is read before, without a limit of time. Call it
/// before any thread is started. The model passes through a pipe, which costs one copy.
Model ImportModel(const ModelRequest& request, const ImportLimits& limits = {});

} // namespace kxcontour
