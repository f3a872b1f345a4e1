// Vertex indices, grouped into points, lines or triangles.
#ifndef KXSCENEGRAPH_KXINDEXBUFFER_H
#define KXSCENEGRAPH_KXINDEXBUFFER_H

#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

#include <vector>

namespace kx {

/// The elements of an index buffer: one, two or three indices per element.
enum IndexBufferType { IBT_POINTS = 0, IBT_LINES = 1, IBT_TRIANGLES = 2 };

/// A list of 32-bit vertex indices. Neither their range nor the completeness of the last element is
/// checked.
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

    /// Resizes the list: existing indices are kept, new ones are zero.
    ///
    /// A negative quantity counts as 0. Invalidates pointers from `GetData`. Growing takes
    /// amortised constant time per index; shrinking keeps the memory.
    void SetIndexQuantity(int indexQuantity);

    /// The type given at construction.
    IndexBufferType GetIndexBufferType() const { return type_; }

    /// `GetIndexQuantity()` consecutive indices, owned by the buffer; may be null if there are
    /// none.
    unsigned int* GetData() { return indices_.data(); }
    /// As above, for reading.
    const unsigned int* GetData() const { return indices_.data(); }

private:
    std::vector<unsigned int> indices_;
    IndexBufferType type_;
};

} // namespace kx

#endif
