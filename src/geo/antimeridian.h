// Lines and rings cut at the antimeridian, as GeoJSON wants them (RFC 7946,
// 3.1.9: no segment may be read as crossing +-180 the long way round), and
// the cut undone for drawing.
//
// Positions are LonLat in degrees, longitudes in [-180, 180]. Between two
// consecutive positions the line is taken to run the short way in
// longitude, so a step from 179 to -179 crosses the antimeridian.
#pragma once

#include <vector>

#include "geo/sphere.h"

namespace geo {

using Line = std::vector<LonLat>;

/// A polyline cut where a segment crosses the antimeridian: the parts, each
/// with at least two positions, with a point on +-180 (latitude
/// interpolated linearly in longitude) ending one part and starting the
/// next. Repeated positions are dropped.
std::vector<Line> cut_line(const Line& line);

/// A counter-clockwise ring (open: the first point is not repeated) cut at
/// the antimeridian into counter-clockwise rings, each closed by repeating
/// its first point. The cut adds edges along the antimeridian. A ring that
/// goes once round a pole is first closed along the pole: down the
/// antimeridian to the pole, along the pole's latitude, and back; the edges
/// along the pole are split into pieces of at most 90 degrees of
/// longitude, so that none can be read as crossing the antimeridian.
std::vector<Line> cut_ring(const Line& ring);

/// The outline of the figure whose rings `cut_ring` made (or of rings that
/// were never cut): the rings as open lines without the edges the cut
/// added. The rule: an edge whose two ends both lie on the antimeridian
/// (longitude exactly -180 or 180), or both at the same pole (latitude
/// exactly 90 or -90), was added by the cut and is left out; a ring is
/// broken there into separate lines. A ring of the true figure does not
/// run along the antimeridian or a pole between two of its vertices, so
/// nothing of it is lost.
std::vector<Line> ring_outline(const std::vector<Line>& rings);

}  // namespace geo
