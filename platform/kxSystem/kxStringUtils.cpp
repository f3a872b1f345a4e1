// Character sets on a system where all of them are UTF-8.
#include <kxSystem/kxStringUtils.h>

namespace kx {

std::string kxStringUtils::convertCharset(const std::string& text, CharSet, CharSet) {
    return text;
}

} // namespace kx
