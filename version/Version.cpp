// The version of the library, from the numbers that the build defines.
#include <ctr/Version.h>

#define CTR_TEXT_OF(value) #value
#define CTR_TEXT(value) CTR_TEXT_OF(value)
#define CTR_MAJOR_MINOR CTR_TEXT(CTR_MAJOR) "." CTR_TEXT(CTR_MINOR)
#define CTR_MAJOR_MINOR_RELEASE CTR_MAJOR_MINOR "." CTR_TEXT(CTR_RELEASE)
#define CTR_WITH_REVISION CTR_MAJOR_MINOR_RELEASE "." CTR_TEXT(CTR_REVISION)
#define CTR_WITH_COMMIT CTR_WITH_REVISION " #" CTR_COMMIT_ID
#define CTR_WITH_DATE CTR_WITH_COMMIT " " CTR_TEXT(CTR_YEAR) "-" CTR_TEXT(CTR_MONTH)

namespace kxContouringLib {

int Version::GetMajor() {
    return CTR_MAJOR;
}
int Version::GetMinor() {
    return CTR_MINOR;
}
int Version::GetRelease() {
    return CTR_RELEASE;
}
int Version::GetRevision() {
    return CTR_REVISION;
}
const char* Version::GetCommitId() {
    return CTR_COMMIT_ID;
}
int Version::GetYear() {
    return CTR_YEAR;
}
int Version::GetMonth() {
    return CTR_MONTH;
}

const char* Version::GetDescStringMajorMinor(bool) {
    return CTR_MAJOR_MINOR;
}
const char* Version::GetDescStringMajorMinorRelease(bool) {
    return CTR_MAJOR_MINOR_RELEASE;
}

const char* Version::GetDescStringMajorMinorReleaseRevision(bool, bool withCommitId) {
    return withCommitId ? CTR_WITH_COMMIT : CTR_WITH_REVISION;
}

const char* Version::GetDescStringMajorMinorReleaseRevisionDate() {
    return CTR_WITH_DATE;
}

bool Version::IsBeta() {
    return false;
}
bool Version::IsDebug() {
    return false;
}
bool Version::IsDev() {
    return false;
}

} // namespace kxContouringLib
