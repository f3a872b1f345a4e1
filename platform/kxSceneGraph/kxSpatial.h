// Whatever has a place in a scene.
#ifndef KXSCENEGRAPH_KXSPATIAL_H
#define KXSCENEGRAPH_KXSPATIAL_H

#include <kxSceneGraph/kxGenericTransformation.h>
#include <kxSystem/kxExport.h>
#include <kxSystem/kxObject.h>

#include <vector>

namespace kx {

/// An object with a local transformation (to its parent) and a world transformation (to the scene).
///
/// Two flag words say what a later update of the scene has to look at: the first tells about the
/// object itself, the second about what lies below it. A parent collects the flags of its children
/// in both. Nothing here runs that update, and neither transformation is derived from the other:
/// the host sets both.
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
    /// both flag words of each of its parents. The world transformation stays as it is.
    void SetLocalTransformation(const kxGenericTransformation<float>& transformation);

    /// Stores the transformation and touches no flag.
    void SetWorldTransformation(const kxGenericTransformation<float>& transformation);

    /// Marks this object and all below it as in need of an update of their world transformations,
    /// or as up to date. A geometry has nothing below it, so this sets or clears one bit of its own
    /// flag word. Parents are not told.
    void setDirtyDown(bool dirty);

    /// What is to be updated in the object itself.
    unsigned int GetOwnFlags() const { return ownFlags_; }
    /// What is to be updated below it.
    unsigned int GetBelowFlags() const { return belowFlags_; }

    /// Adds a parent, which is borrowed: it must be detached before it is destroyed. Null, and a
    /// parent already there, are ignored. O(parents).
    void AttachParent(kxSpatial* parent);

    /// Takes a parent off the list; ignored when it is not there. O(parents).
    void DetachParent(kxSpatial* parent);

    /// The parents in the order in which they were attached.
    const std::vector<kxSpatial*>& GetParents() const { return parents_; }

protected:
    kxSpatial() = default;

    /// Copies what a clone of a spatial takes over: name, transformations, flags. A clone has a
    /// place of its own in the scene, so the parents are not copied.
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
