// The smart pointer of reference-counted objects.
#ifndef KXSYSTEM_KXPOINTER_H
#define KXSYSTEM_KXPOINTER_H

#include <cassert>
#include <type_traits>
#include <utility>

namespace kx {

/// Holds one reference on an object, or null.
///
/// `T` has `IncrementReferences` and `DecrementReferences`, both const, as `kxObject` has; `const
/// T` works too. `T` may be incomplete where a pointer is only declared or passed on by reference;
/// it must be complete where one is made, assigned or destroyed. One pointer is used by one thread
/// at a time; two pointers to one object may live on two threads.
template <class T> class kxPointer {
public:
    /// Takes a reference on `object`, null allowed.
    kxPointer(T* object = nullptr) : object_(object) { Increment(); }
    /// Takes another reference.
    kxPointer(const kxPointer& other) : object_(other.object_) { Increment(); }
    /// Takes over the reference; `other` is null afterwards.
    kxPointer(kxPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

    /// From a pointer to a derived or less const object; takes a reference.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    kxPointer(const kxPointer<U>& other) : object_(other.get()) {
        Increment();
    }

    ~kxPointer() { Decrement(); }

    /// Assigns a copy, a moved pointer or a `T*`, each converted to `other` first: the old object
    /// is released after the new one is referenced, so assigning a pointer to itself, or an object
    /// that only the old one keeps alive, is safe.
    kxPointer& operator=(kxPointer other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    /// The object, owned by its pointers; null if there is none.
    T* get() const { return object_; }
    /// Member access; must not be null.
    T* operator->() const {
        assert(object_ != nullptr);
        return object_;
    }
    /// The object; must not be null.
    T& operator*() const {
        assert(object_ != nullptr);
        return *object_;
    }
    /// Whether there is an object.
    explicit operator bool() const { return object_ != nullptr; }

    /// Pointers are equal if they refer to the same object, or to none.
    friend bool operator==(const kxPointer& a, const kxPointer& b) {
        return a.object_ == b.object_;
    }
    /// As above, with a raw pointer.
    friend bool operator==(const kxPointer& a, const T* b) { return a.object_ == b; }
    /// As above, with a raw pointer on the left.
    friend bool operator==(const T* a, const kxPointer& b) { return a == b.object_; }
    /// Whether the objects differ.
    friend bool operator!=(const kxPointer& a, const kxPointer& b) {
        return a.object_ != b.object_;
    }
    /// As above, with a raw pointer.
    friend bool operator!=(const kxPointer& a, const T* b) { return a.object_ != b; }
    /// As above, with a raw pointer on the left.
    friend bool operator!=(const T* a, const kxPointer& b) { return a != b.object_; }

private:
    void Increment() const {
        if (object_) {
            object_->IncrementReferences();
        }
    }
    void Decrement() const {
        if (object_) {
            object_->DecrementReferences();
        }
    }

    T* object_;
};

} // namespace kx

#endif
