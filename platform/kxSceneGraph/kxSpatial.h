// Objects with a position in a scene.
#ifndef KXSCENEGRAPH_KXSPATIAL_H
#define KXSCENEGRAPH_KXSPATIAL_H

#include <kxSceneGraph/kxGenericTransformation.h>
#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

#include <vector>

namespace kx {

/// An object with a local transformation (to its parent) and a world transformation (to the scene).
///
/// Two flag words record the parts that a later update of the scene must process: the first for the
/// object itself, the second for its descendants. A parent collects the flags of its children in
/// both. Nothing here runs that update, and neither transformation is derived from the other: the
/// host sets both.
class KX_EXPORT kxSpatial : public kxObject {
public:
    static const kxRtti TYPE; ///< The record of this class.

    /// The bits of a flag word.
    enum UpdateFlag : unsigned int { UF_TRANSFORMATION = 1u };

    ~kxSpatial() override;

    const kxRtti& GetType() const override;

    /// From here to the parent.
    const kxGenericTransformation<float>& GetLocalTransformation() const { return local_; }
    /// From here to the scene.
    const kxGenericTransformation<float>& GetWorldTransformation() const { return world_; }

    /// Stores the transformation, marks the object dirty, and ORs the object's own flag word into
    /// both flag words of each of its parents. The world transformation is unchanged.
    void SetLocalTransformation(const kxGenericTransformation<float>& transformation);

    /// Stores the transformation and touches no flag.
    void SetWorldTransformation(const kxGenericTransformation<float>& transformation);

    /// Marks the world transformations of this object and its descendants as dirty or up to date. A
    /// geometry has no descendants, so this sets or clears one bit of its own flag word. Parents
    /// are not notified.
    void setDirtyDown(bool dirty);

    /// The updates pending for the object itself.
    unsigned int GetOwnFlags() const { return ownFlags_; }
    /// The updates pending for its descendants.
    unsigned int GetBelowFlags() const { return belowFlags_; }

    /// Adds a parent, which is borrowed: it must be detached before it is destroyed. Null, and a
    /// parent already there, are ignored. O(parents).
    void AttachParent(kxSpatial* parent);

    /// Removes a parent; ignored if it is not there. O(parents).
    void DetachParent(kxSpatial* parent);

    /// The parents in the order in which they were attached.
    const std::vector<kxSpatial*>& GetParents() const { return parents_; }

protected:
    kxSpatial() = default;

    /// Copies to a clone: name, transformations, flags. A clone has its own position in the scene,
    /// so the parents are not copied.
    void CopySpatialTo(kxSpatial& target) const;

private:
    void FlagParents() const;

    kxGenericTransformation<float> local_;
    kxGenericTransformation<float> world_;
    unsigned int ownFlags_ = 0;
    unsigned int belowFlags_ = 0;
    std::vector<kxSpatial*> parents_;
};

} // namespace kx

#endif
