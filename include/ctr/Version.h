// The version of the library that is loaded.
#pragma once

#include <ctr/Export.h>

/// @name The version of these headers
/// For the preprocessor, as in `#if CTR_VERSION >= CTR_MAKE_VERSION(1, 1, 0)`. The loaded library
/// may be later; kxContouringLib::Version gives its version.
/// @{
#define CTR_VERSION_MAJOR 1   ///< As Version::GetMajor().
#define CTR_VERSION_MINOR 0   ///< As Version::GetMinor().
#define CTR_VERSION_RELEASE 0 ///< As Version::GetRelease().
/// One number that increases with the version; minor version and release have three digits each.
#define CTR_MAKE_VERSION(major, minor, release) (1000000 * (major) + 1000 * (minor) + (release))
/// The three numbers above as one.
#define CTR_VERSION CTR_MAKE_VERSION(CTR_VERSION_MAJOR, CTR_VERSION_MINOR, CTR_VERSION_RELEASE)
/// @}

/// Information about the library.
namespace kxContouringLib {

/// Constants of the build. Strings are static. The bool arguments not named are ignored.
class CTR_EXPORT Version {
public:
    static int GetMajor();    ///< Changes when programs must be rebuilt.
    static int GetMinor();    ///< Changes when operations are added.
    static int GetRelease();  ///< Changes with every other release.
    static int GetRevision(); ///< Counts the builds of all versions.
    /// The commit of this version, as text.
    static const char* GetCommitId();
    static int GetYear();  ///< The year of this version, four digits.
    static int GetMonth(); ///< The month of this version, 1 to 12.
    /// "1.0" for version 1.0.
    static const char* GetDescStringMajorMinor(bool);
    /// With the release: "1.0.0".
    static const char* GetDescStringMajorMinorRelease(bool);
    /// With the revision, and optionally " #" and the commit id.
    static const char* GetDescStringMajorMinorReleaseRevision(bool, bool withCommitId);
    /// With everything: revision, commit id, year and month.
    static const char* GetDescStringMajorMinorReleaseRevisionDate();
    static bool IsBeta();  ///< Always false.
    static bool IsDebug(); ///< Always false.
    static bool IsDev();   ///< Always false.
};

} // namespace kxContouringLib
