// Allocations that fail on demand, and bytes that are in use, counted over the whole program: the
// library and the standard library call the operators of this program, too.
#pragma once

namespace test_support {

/// While it lives, allocation number `first` from now on fails with std::bad_alloc (null from the
/// nothrow operators), once or ever after; 0 lets all succeed. One lives at a time, on one thread.
class AllocationFault {
public:
    enum class Lasting { once, everAfter };

    AllocationFault(long first, Lasting lasting);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    /// How many allocations were tried since it was made.
    long tried() const;
};

/// How many blocks of operator new, in any form, are not deleted yet.
long LiveAllocations();

/// Watches how many bytes such blocks hold. One lives at a time, on one thread.
class AllocatedBytes {
public:
    AllocatedBytes();

    /// The most that were in use at once since it was made, beyond those of that moment.
    long most() const;

private:
    long before_;
};

} // namespace test_support
