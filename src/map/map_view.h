// The part of the earth a map shows and how it is projected.
//
// The map is a rectangle in the plane of an azimuthal projection, given to
// GMT by its lower-left and upper-right corners (a "+r" region). Such a
// region has no longitude range, so it is the same whether or not it spans
// the antimeridian or contains a pole.
#pragma once

#include <optional>
#include <vector>

#include "map/map_event.h"

namespace vestra::map {

enum class Projection {
  stereographic,          ///< conformal, for regional events
  azimuthal_equidistant,  ///< centred on the fix, for distant stations
};

/// Coordinates in the projection plane, in km at the projection centre's
/// scale; y towards north at the centre.
struct PlanePoint {
  double x = 0;
  double y = 0;
};

/// Farthest feature from the centre, km, still drawn stereographically.
inline constexpr double kRegionalRadiusKm = 2000;

/// The point `p` in the plane of `proj` about `centre`, on the sphere of
/// geo::mean_radius_km, and back.
PlanePoint project(Projection proj, LonLat centre, LonLat p);
LonLat unproject(Projection proj, LonLat centre, PlanePoint q);

struct MapView {
  Projection projection = Projection::stereographic;
  LonLat centre;                   ///< tangent point of the projection
  bool whole_earth = false;        ///< the whole azimuthal-equidistant disk
  LonLat lower_left, upper_right;  ///< corners of the map rectangle
  PlanePoint low, high;            ///< the same corners in the plane
  double width_km = 0, height_km = 0;
  double scale_bar_km = 0;  ///< a round length near a quarter of the width
};

/// The points a map of `event` must show: stations, bearing lines, the fix
/// and its ellipse, and `truth`. Crossings count only when there is no fix,
/// so that a crossing on the far side of the earth does not shrink the map.
std::vector<LonLat> framed_points(const MapEvent& event,
                                  std::optional<LonLat> truth);

/// The view of `points` (not empty) with a margin, as a rectangle of the
/// given width/height `aspect`. Stereographic about the middle of the
/// points when all lie within kRegionalRadiusKm of `fix` (or of their mean
/// position when there is no fix); otherwise azimuthal equidistant about
/// the fix, and the whole disk when the rectangle would not fit in it.
MapView choose_view(const std::vector<LonLat>& points,
                    std::optional<LonLat> fix, double aspect);

}  // namespace vestra::map
