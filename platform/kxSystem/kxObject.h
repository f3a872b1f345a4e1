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
/// The count is born at 0, owned by nobody: whoever makes an object with `new` either hands it to a
/// `kxPointer` or deletes it. The count is atomic, so threads may share an object and the last to
/// let go deletes it; everything else about an object is its owner's to guard.
class KX_EXPORT kxObject : public kxRttiInterface {
public:
    static const kxRtti TYPE; ///< The record of this class.

    ~kxObject() override;
    kxObject(const kxObject&) = delete;
    kxObject& operator=(const kxObject&) = delete;

    const kxRtti& GetType() const override;

    /// Takes one reference. Any thread that already holds one, or made the object, may call.
    virtual void IncrementReferences() const;

    /// Gives one reference back; the object deletes itself with the last one.
    ///
    /// Everything a thread did to the object before it let go is done before the deletion.
    /// The caller must hold a reference.
    virtual void DecrementReferences() const;

    /// The count at some moment of the call; it may be stale at once when threads share the object.
    virtual int GetReferences() const;

    /// Copies this object into `target`, or into a new object when `target` is null.
    ///
    /// A new object is stored in `target` with a count of 0: the caller owns it. False when
    /// `target` is of another class, which leaves it as it was, and for every class that offers no
    /// copy, which is what this one answers.
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
