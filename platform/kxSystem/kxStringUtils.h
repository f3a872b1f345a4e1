// Conversions between character sets.
#ifndef KXSYSTEM_KXSTRINGUTILS_H
#define KXSYSTEM_KXSTRINGUTILS_H

#include <kxSystem/kxExport.h>

#include <string>

namespace kx {

/// Operations on text. Stateless; safe to call from any number of threads.
struct KX_EXPORT kxStringUtils {
    /// The character sets.
    enum CharSet {
        CS_FILE_SYSTEM = 0, ///< of the system's file functions
        CS_UTF8 = 1         ///< of the framework's own text
    };

    /// Converts text to another character set.
    ///
    /// On Linux both sets are UTF-8 and file names are arbitrary bytes, so this returns `text`
    /// unchanged, valid UTF-8 or not.
    static std::string convertCharset(const std::string& text, CharSet from, CharSet to);
};

} // namespace kx

#endif
