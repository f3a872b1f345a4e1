// Reads a model in a process of its own, so that a damaged or hostile file cannot harm the tool.
#pragma once

#include "drawing/scene/Model.h"
#include "import/ModelFiles.h"
#include "import/ModelRequest.h"

#include <functional>

namespace kxcontour {

/// ReadModel() in a child process.
///
/// Importers are large and files come from anywhere: one that crashes, that goes beyond a limit or
/// that tries what it may not ends in the same Failure (Unreadable) as any other bad file, and
/// whatever it prints is lost. The child has no descriptors of this process, and is confined before
/// it looks at the first byte, see Confine(). ReadRules say how long it may take; its memory is
/// limited to 4 GiB and 64 times the size of the input, or less where this process itself has less.
/// What it sends is checked, see ReceiveModel(). Standard input is read before, without a limit of
/// time. Call it before any thread is started. The model passes through a pipe, which costs one
/// copy.
Model ImportModel(const ModelRequest& request);

/// What a child process makes of the open files of a model.
using ModelWork = std::function<Model(const ModelRequest&, ModelFiles&)>;

/// The same with other work for the child.
Model ImportModelBy(const ModelWork& work, const ModelRequest& request);

} // namespace kxcontour
