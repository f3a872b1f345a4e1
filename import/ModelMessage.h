// What an importing process sends to the tool.
#pragma once

#include "drawing/common/Failure.h"
#include "drawing/scene/Model.h"
#include "import/Pipe.h"

#include <cstdint>
#include <functional>
#include <string>

namespace kxcontour {

/// @name The importer's end
/// The size of each side file that it opens, and then either a model or a failure.
/// @{
void SendOpened(PipeWriter& pipe, std::uint64_t size);
void SendModel(PipeWriter& pipe, const Model& model);
void SendFailure(PipeWriter& pipe, const Failure& failure);
/// @}

/// Receives the model, or throws the failure that the importer sent.
///
/// The importer may have been taken over by the file that it reads, so nothing that comes is
/// believed: PipeSpoiled is thrown for a message that no importer sends. A model that is returned
/// is one as Model says, with the indices of vertices and the coordinates of shapes and placements
/// as unchecked as there. opened is told of each side file as it is opened. Throws what PipeReader
/// throws as well.
Model ReceiveModel(PipeReader& pipe, const std::function<void(std::uint64_t)>& opened);

} // namespace kxcontour
