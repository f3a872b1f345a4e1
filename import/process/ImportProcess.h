// Reads a model in a process of its own, so that a damaged or hostile file cannot harm the tool.
#pragma once

#include "drawing/scene/Model.h"
#include "import/files/ModelFiles.h"
#include "import/files/ModelRequest.h"

#include <functional>
#include <string_view>

namespace kxcontour {

/// Reads the open files of a model.
using ModelWork = std::function<Model(const ModelRequest&, ModelFiles&)>;

/// Does the work in a child process and returns the model.
///
/// Importers are large and files come from anywhere: one that crashes, exceeds a limit or attempts
/// a forbidden system call ends in the same CannotRead as any other bad file, and its
/// output is discarded. The child has no descriptors of this process, and is confined before it
/// reads the first byte, see Confine(). ReadRules limit its time; its memory is limited to 4 GiB
/// plus 64 times the size of the input, or less where this process itself has less. What it sends
/// is checked, see UnpackModel(). Call it before any thread is started. The model passes through a
/// pipe, which costs two copies.
///
/// standardInput: the bytes of a model from there, read before, without a limit of time.
Model ImportModelBy(const ModelWork& work,
                    const ModelRequest& request,
                    std::string_view standardInput = {});

} // namespace kxcontour
