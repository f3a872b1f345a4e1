// Reads a model in a process of its own, so that a damaged file cannot take the tool down.
#pragma once

#include "model/Model.h"

#include <string>

namespace kxcontour {

/// ReadModel() in a child process.
///
/// Importers are large and files come from anywhere: one that crashes, or computes for ten minutes,
/// ends in the same Failure (Unreadable) as any other bad file, and whatever it prints is lost.
/// Call it before any thread is started. The model passes through a pipe, which costs one copy.
Model ImportModel(const std::string& path);

} // namespace kxcontour
