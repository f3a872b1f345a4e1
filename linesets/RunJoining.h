// Runs that continue each other across vertices where chains end.
#pragma once

#include <ctr/LineSegmentSet.h>

#include <vector>

namespace ctr {

/// Links runs that meet at a vertex and together are one straight line or one arc.
///
/// Runs are turned in place where needed, so that a chain of records reads from its head to its
/// tail; flags and tags (may be null) stay with their segments. The records of a joined chain are
/// marked as what the chain is.
void JoinRuns(const kx::kxVertexBuffer& vertices,
              unsigned int* indices,
              std::vector<bool>& straightLineFlags,
              std::vector<unsigned char>* tags,
              std::vector<LineSegmentSet::ArcFeature>& records);

} // namespace ctr
