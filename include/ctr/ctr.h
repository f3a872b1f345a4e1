// All public headers of the library.
#pragma once

#include <ctr/BakedTriangles.h>
#include <ctr/CreaseEdgeInfo.h>
#include <ctr/DiscreteProjectionSpace.h>
#include <ctr/ExportParameters.h>
#include <ctr/FeatureEdges.h>
#include <ctr/FittingSystem.h>
#include <ctr/GeometricFeaturesGenerator.h>
#include <ctr/IntervalTools.h>
#include <ctr/LineSegmentSet.h>
#include <ctr/RationalTools.h>
#include <ctr/SVGExporter.h>
#include <ctr/Surface.h>
#include <ctr/TrianglesIntersection.h>
#include <ctr/Version.h>
