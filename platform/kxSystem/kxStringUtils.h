// Conversions between character sets.
#ifndef KXSYSTEM_KXSTRINGUTILS_H
#define KXSYSTEM_KXSTRINGUTILS_H

#include <kxSystem/kxExport.h>

#include <string>

namespace kx {

/// Operations on text. No state; any number of threads may call at once.
struct KX_EXPORT kxStringUtils {
    /// The sets there are.
    enum CharSet {
        CS_FILE_SYSTEM = 0, ///< what the system's file calls take
        CS_UTF8 = 1         ///< what the framework's own text is in
    };

    /// The same text in another character set.
    ///
    /// On Linux both sets are UTF-8 and a file name is whatever bytes it is, so this gives back the
    /// bytes of `text`, valid UTF-8 or not.
    static std::string convertCharset(const std::string& text, CharSet from, CharSet to);
};

} // namespace kx

#endif
