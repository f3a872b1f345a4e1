// Which build of the library is loaded.
#pragma once

#include <ctr/Export.h>

namespace kxContouringLib {

/// Constants of the build. Strings are static. The bool arguments not named are ignored.
class CTR_EXPORT Version {
public:
    static int GetMajor();
    static int GetMinor();
    static int GetRelease();
    static int GetRevision();
    static const char* GetCommitId();
    static int GetYear();
    static int GetMonth();
    static const char* GetDescStringMajorMinor(bool);
    static const char* GetDescStringMajorMinorRelease(bool);
    /// With or without " #" and the commit id.
    static const char* GetDescStringMajorMinorReleaseRevision(bool, bool withCommitId);
    static const char* GetDescStringMajorMinorReleaseRevisionDate();
    static bool IsBeta();
    static bool IsDebug();
    static bool IsDev();
};

} // namespace kxContouringLib
