// The bytes that an importing process sends to its parent.
#pragma once

#include "drawing/scene/Model.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace kxcontour {

/// The bytes are no message that an importer sends.
class BadMessage : public std::exception {
public:
    const char* what() const noexcept override { return "not a message of an importer"; }
};

/// @name The importer's end
/// The size of each file that it opens, and then either a model or a failure.
/// @{
std::string PackOpened(std::uint64_t size);
std::string PackModel(Model model);
std::string PackFailure(const std::string& failure);
/// @}

/// Takes one size off the start of the bytes received so far; none where they do not begin with a
/// complete one.
std::optional<std::uint64_t> TakeOpened(std::string_view& message);

/// Unpacks the model that follows the sizes, or throws the failure that the importer sent.
///
/// The file may have taken over the importer, so every count, index and number is checked before it
/// is used: throws BadMessage for bytes that no importer sends, also where they end too early. A
/// model that is returned is one as Model says, with the indices of vertices and the coordinates of
/// shapes and placements as unchecked as there. Memory is taken only for bytes that are there.
Model UnpackModel(std::string_view received);

} // namespace kxcontour
