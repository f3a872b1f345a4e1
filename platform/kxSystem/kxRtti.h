// The framework's own type records.
#ifndef KXSYSTEM_KXRTTI_H
#define KXSYSTEM_KXRTTI_H

#include <kxSystem/kxExport.h>

namespace kx {

/// The record of one class: its name and the record of its base.
///
/// There is one static record per class, identified by its address, so records are neither copied
/// nor moved. Immutable: safe to use from any number of threads.
class KX_EXPORT kxRtti {
public:
    /// `name` and `base` are borrowed for the record's lifetime; `base` is null for a root class.
    constexpr kxRtti(const char* name, const kxRtti* base) : name_(name), base_(base) {}
    kxRtti(const kxRtti&) = delete;
    kxRtti& operator=(const kxRtti&) = delete;

    /// The class name given at construction.
    const char* GetName() const { return name_; }

    /// Whether this is the record `type` itself.
    bool IsExactly(const kxRtti& type) const { return this == &type; }

    /// Whether `type` is this record or that of any base, direct or not. O(depth of the class).
    bool IsDerived(const kxRtti& type) const;

private:
    const char* name_;
    const kxRtti* base_;
};

} // namespace kx

#endif
