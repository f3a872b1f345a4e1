// The reference-counted, named root of the framework's classes.
#ifndef KXSYSTEM_KXOBJECT_H
#define KXSYSTEM_KXOBJECT_H

#include <kxSystem/kxExport.h>
#include <kxSystem/kxRttiInterface.h>

#include <atomic>
#include <string>

/// The host framework that the library is written against: objects, buffers, meshes, progress.
namespace kx {

/// An object with an intrusive reference count and a name.
///
/// The count starts at 0: the creator of an object either passes it to a `kxPointer` or deletes it.
/// The count is atomic, so threads may share an object, and the last release deletes it; access to
/// everything else must be synchronised by the owner.
class KX_EXPORT kxObject : public kxRttiInterface {
public:
    static const kxRtti TYPE; ///< The record of this class.

    ~kxObject() override;
    kxObject(const kxObject&) = delete;
    kxObject& operator=(const kxObject&) = delete;

    const kxRtti& GetType() const override;

    /// Takes a reference. Any thread that already holds one, or created the object, may call this.
    virtual void IncrementReferences() const;

    /// Releases a reference; the object is deleted with the last one.
    ///
    /// All accesses of a thread before its release happen before the deletion. The caller must hold
    /// a reference.
    virtual void DecrementReferences() const;

    /// The count at some moment of the call; it may be outdated if threads share the object.
    virtual int GetReferences() const;

    /// Copies this object into `target`, or into a new object if `target` is null.
    ///
    /// A new object is stored in `target` with a count of 0: the caller owns it. Returns false,
    /// with `target` unchanged, if it is of another class, and for every class without a copy, such
    /// as this one.
    virtual bool Clone(kxRttiInterface*& target) const;

    /// Stores a name: any text, empty by default; names need not differ.
    virtual void SetName(const std::string& name);
    /// The name that was set.
    virtual const std::string& GetName() const;

protected:
    kxObject() = default;

private:
    std::string name_;
    mutable std::atomic<int> references_{0};
};

} // namespace kx

#endif
