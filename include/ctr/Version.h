// Which build of the library is loaded.
#pragma once

#include <ctr/Export.h>

/// What the library says of itself.
namespace kxContouringLib {

/// Constants of the build. Strings are static. The bool arguments not named are ignored.
class CTR_EXPORT Version {
public:
    static int GetMajor();    ///< Changes when programs have to be built anew.
    static int GetMinor();    ///< Changes when operations are added.
    static int GetRelease();  ///< Changes with every other release.
    static int GetRevision(); ///< Counts the builds of all versions.
    /// The commit that this version is, as text.
    static const char* GetCommitId();
    static int GetYear();  ///< When this version was made, four digits.
    static int GetMonth(); ///< When this version was made, 1 to 12.
    /// "1.0" for version 1.0.
    static const char* GetDescStringMajorMinor(bool);
    /// The same with the release: "1.0.0".
    static const char* GetDescStringMajorMinorRelease(bool);
    /// The same with the revision, and with or without " #" and the commit id.
    static const char* GetDescStringMajorMinorReleaseRevision(bool, bool withCommitId);
    /// The longest of them: revision, commit id, year and month.
    static const char* GetDescStringMajorMinorReleaseRevisionDate();
    static bool IsBeta();  ///< Always false.
    static bool IsDebug(); ///< Always false.
    static bool IsDev();   ///< Always false.
};

} // namespace kxContouringLib
