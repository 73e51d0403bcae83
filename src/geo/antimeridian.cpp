#include "geo/antimeridian.h"

#include <cmath>

namespace geo {

namespace {

// Signed area (twice, in square degrees) of a ring by the shoelace formula:
// positive for counter-clockwise.
double ring_area(const Line& ring) {
  double a = 0.0;
  for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
    a += ring[j].lon * ring[i].lat - ring[i].lon * ring[j].lat;
  return a;
}

// Sutherland-Hodgman clipping of a polygon to lon >= bound (keep_above) or
// lon <= bound.
Line clip(const Line& poly, double bound, bool keep_above) {
  Line out;
  auto inside = [&](const LonLat& p) {
    return keep_above ? p.lon >= bound : p.lon <= bound;
  };
  auto on_bound = [&](const LonLat& a, const LonLat& b) {
    return LonLat{bound,
                  a.lat + (bound - a.lon) / (b.lon - a.lon) * (b.lat - a.lat)};
  };
  for (std::size_t i = 0; i < poly.size(); ++i) {
    const LonLat& a = poly[(i + poly.size() - 1) % poly.size()];
    const LonLat& b = poly[i];
    if (inside(b)) {
      if (!inside(a)) out.push_back(on_bound(a, b));
      out.push_back(b);
    } else if (inside(a)) {
      out.push_back(on_bound(a, b));
    }
  }
  return out;
}

// The ring with longitudes made continuous along it (no step of more than
// 180 degrees), closed along the pole when it goes once round one.
Line unwrapped(const Line& ring) {
  Line u{ring[0]};
  for (std::size_t i = 1; i < ring.size(); ++i)
    u.push_back({u.back().lon + std::remainder(ring[i].lon - ring[i - 1].lon,
                                               360.0),
                 ring[i].lat});
  const double turn =
      u.back().lon + std::remainder(ring[0].lon - ring.back().lon, 360.0) -
      u[0].lon;
  if (std::fabs(turn) > 180.0) {
    const double pole = turn > 0.0 ? 90.0 : -90.0;
    u.push_back({u[0].lon + turn, u[0].lat});
    u.push_back({u[0].lon + turn, pole});
    u.push_back({u[0].lon, pole});
  }
  return u;
}

// A closed ring with every edge split into pieces of at most 90 degrees of
// longitude.
Line densified(const Line& p) {
  Line dense{p.front()};
  for (std::size_t i = 1; i < p.size(); ++i) {
    const LonLat a = p[i - 1], b = p[i];
    const int pieces = static_cast<int>(std::ceil(std::fabs(b.lon - a.lon) / 90.0));
    for (int k = 1; k < pieces; ++k)
      dense.push_back({a.lon + (b.lon - a.lon) * k / pieces,
                       a.lat + (b.lat - a.lat) * k / pieces});
    dense.push_back(b);
  }
  return dense;
}

bool added_by_cut(const LonLat& a, const LonLat& b) {
  return (std::fabs(a.lon) == 180.0 && std::fabs(b.lon) == 180.0) ||
         (std::fabs(a.lat) == 90.0 && a.lat == b.lat);
}

}  // namespace

std::vector<Line> cut_line(const Line& line) {
  std::vector<Line> parts(1);
  auto add = [&](const LonLat& p) {
    if (parts.back().empty() || parts.back().back().lon != p.lon ||
        parts.back().back().lat != p.lat)
      parts.back().push_back(p);
  };
  for (std::size_t i = 0; i < line.size(); ++i) {
    const LonLat& b = line[i];
    if (i > 0) {
      const LonLat& a = line[i - 1];
      const double d = b.lon - a.lon;
      if (std::fabs(d) > 180.0) {
        // Crossing: westward when d > 180 (a near -180, b near +180).
        const double edge = d > 180.0 ? -180.0 : 180.0;
        const double b_lon = d > 180.0 ? b.lon - 360.0 : b.lon + 360.0;
        const double lat =
            a.lat + (edge - a.lon) / (b_lon - a.lon) * (b.lat - a.lat);
        add({edge, lat});
        parts.push_back({{-edge, lat}});
      }
    }
    add(b);
  }
  std::vector<Line> kept;
  for (auto& p : parts)
    if (p.size() >= 2) kept.push_back(std::move(p));
  return kept;
}

std::vector<Line> cut_ring(const Line& ring) {
  std::vector<Line> parts;
  if (ring.size() < 3) return parts;
  const Line u = unwrapped(ring);
  // The ring, shifted by whole turns, clipped to each 360-degree window.
  for (int k = -2; k <= 2; ++k) {
    const double shift = 360.0 * k;
    Line p = clip(clip(u, shift - 180.0, true), shift + 180.0, false);
    if (p.size() < 3) continue;
    for (LonLat& q : p) q.lon -= shift;
    if (!(ring_area(p) > 0.0)) continue;
    p.push_back(p.front());
    parts.push_back(densified(p));
  }
  return parts;
}

std::vector<Line> ring_outline(const std::vector<Line>& rings) {
  std::vector<Line> lines;
  for (const Line& ring : rings) {
    Line current;
    for (std::size_t i = 0; i < ring.size(); ++i) {
      if (i > 0 && added_by_cut(ring[i - 1], ring[i])) {
        if (current.size() > 1) lines.push_back(current);
        current.clear();
      }
      current.push_back(ring[i]);
    }
    if (current.size() > 1) lines.push_back(current);
  }
  return lines;
}

}  // namespace geo
