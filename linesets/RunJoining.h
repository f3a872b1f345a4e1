// Joining of runs that continue each other across vertices where chains end.
#pragma once

#include <ctr/LineSegmentSet.h>

#include <vector>

namespace ctr {

/// Links runs that meet at a vertex and together form one straight line or one arc.
///
/// Runs are reversed in place where needed, so that a chain of records reads from its head to its
/// tail; flags and tags (may be null) move with their segments. All records of a joined chain get
/// the kind of the chain. O(n log n) trials for n records.
void JoinRuns(const kx::kxVertexBuffer& vertices,
              unsigned int* indices,
              std::vector<bool>& straightLineFlags,
              std::vector<unsigned char>* tags,
              std::vector<LineSegmentSet::ArcFeature>& records);

} // namespace ctr
