// Vertex numbers, grouped into points, lines or triangles.
#ifndef KXSCENEGRAPH_KXINDEXBUFFER_H
#define KXSCENEGRAPH_KXINDEXBUFFER_H

#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

#include <vector>

namespace kx {

/// What the indices of a buffer make: one, two or three of them to an element.
enum IndexBufferType { IBT_POINTS = 0, IBT_LINES = 1, IBT_TRIANGLES = 2 };

/// A list of 32-bit vertex numbers. Nothing checks them, nor that the last element is whole.
///
/// Any number of threads may read a buffer while none writes to it.
class KX_EXPORT kxIndexBuffer : public kxObject {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// All indices zero. A negative quantity counts as 0.
    kxIndexBuffer(int indexQuantity, IndexBufferType type);
    ~kxIndexBuffer() override;

    const kxRtti& GetType() const override;

    /// The number of indices, not of elements.
    int GetIndexQuantity() const { return static_cast<int>(indices_.size()); }

    /// Makes the list longer or shorter: what stays is kept, what is new is zero.
    ///
    /// A negative quantity counts as 0. Pointers from `GetData` are good no longer. Growing step by
    /// step costs amortised constant time per index; shrinking keeps the memory.
    void SetIndexQuantity(int indexQuantity);

    /// What was said at construction.
    IndexBufferType GetIndexBufferType() const { return type_; }

    /// `GetIndexQuantity()` indices in a row, owned by the buffer; may be null when there are none.
    unsigned int* GetData() { return indices_.data(); }
    /// The same, for reading.
    const unsigned int* GetData() const { return indices_.data(); }

private:
    std::vector<unsigned int> indices_;
    IndexBufferType type_;
};

} // namespace kx

#endif
