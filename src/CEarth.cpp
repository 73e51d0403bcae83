// Earth model: the ellipsoid table, the geodesic inverse and direct problems
// (Vincenty), conversions between geodetic and earth-centred coordinates,
// and line-of-sight services.
//
// Notation used in the numeric routines:
//   a, b        equatorial and polar radius (metres); f the flattening
//               |a - b| / a; e2 the first eccentricity squared 2f - f^2;
//               r = 1 - f, the ratio b / a.
//   phi, lambda geodetic latitude and longitude (radians).
//   tangent_n   tangent of the reduced latitude of point n (tan beta =
//               r tan phi); c_value_n and s_value_n its cosine and sine.
//   tu, cu, su  the same three for the start point of the direct problem.
//   x           longitude difference on the auxiliary sphere (radians).
//   s and c prefixes mean sine and cosine: sx = sin x, cx = cos x,
//               sy and cy the sine and cosine of the arc y on the auxiliary
//               sphere, sf and cf those of the azimuth at the start point.
//   sa          sine of the azimuth of the geodesic at the equator; c2a its
//               cosine squared (cos^2 alpha).
//   cz          cos(2 sigma_m), sigma_m the arc from the equator to the
//               mid-point of the geodesic; e = 2 cz^2 - 1 = cos(4 sigma_m).
//   c           Vincenty's C, the correction to the longitude difference.
//   s, B, F     in the inverse problem cos U1 cos U2, cos U1 sin U2 and
//               sin U1 sin U2 (U the reduced latitudes); T1 and T2 the
//               sine and cosine parts of the azimuth at point 1.
//   X (or x)    Vincenty's k1 = (sqrt(1 + u^2) - 1) / (sqrt(1 + u^2) + 1),
//               u^2 = cos^2 alpha (a^2 - b^2) / b^2.
//   C, D        the series factors of the arc length in terms of k1:
//               C is Vincenty's A, D is minus his B.
// All arithmetic is in double precision, evaluated in the order written.

#include "GFC.h"

#include <bit>
#include <cstdint>

namespace {

// Pass limit for the inverse problem's iteration on the longitude
// difference.  Ordinary pairs settle within about ten passes.  Nearly
// antipodal pairs never settle, and once |x| is 2 or more the tolerance can
// only be met by an exact repeat, so some pairs more than about 115 degrees
// apart in longitude alternate for ever between two neighbouring doubles.
// 200 passes is far beyond any pair that does settle; on reaching it the
// values of the last pass are used.
constexpr int kMaxInversePasses = 200;

// Stop when the longitude difference changes by no more than this (just
// above the double machine epsilon, 2.220446049250313e-16).
constexpr double kInverseTolerance = 2.22507e-16;

// Pass limit for the direct problem's iteration on the arc length.  It
// settles in a handful of passes for all ordinary inputs; the cap only
// guards against a pair of neighbouring values alternating for ever.  On
// reaching it the values of the last pass are used.
constexpr int kMaxDirectPasses = 100;

// Stop when the arc on the auxiliary sphere changes by no more than this
// (radians).
constexpr double kDirectTolerance = 5e-15;

// Pass limit of the earth-centred to geodetic conversion.  Its tolerance is
// below the spacing of doubles near most tangents, so it ends only on an
// exact repeat; a point that has not repeated by then is given up and
// converted to latitude 0, longitude 0, height 0.
constexpr int kMaxConvertPasses = 1024;

// Tolerance on the tangent of the latitude in that conversion.
constexpr double kConvertTolerance = 1e-21;

// Below this latitude (radians) the height is taken from the distance to
// the axis, above it from the distance to the equatorial plane.
constexpr double kHeightFormulaSwitch = 0.7854;

constexpr double kPi = 3.141592653589793;

}  // namespace

const char* const CEarth::_EllipsoidName[27] = {
    "Unknown",          "Perfect_Sphere",
    "Airy",             "Austrailian_National",
    "Bessell_1841",     "Bessel_1841_Nambia",
    "Clarke_1866",      "Clarke_1880",
    "Everest",          "Fischer_1960_Mercury",
    "Fischer_1968",     "GRS_1967",
    "GRS_1980",         "Helmert_1906",
    "Hough",            "International",
    "Krassovsky",       "Modified_Airy",
    "Modified_Everest", "Modified_Fischer_1960",
    "South_American_1969", "Topex_Poseidon_Pathfinder_ITRF",
    "WGS_60",           "WGS_66",
    "WGS_72",           "WGS_84",
    "Custom"};

CEarth::CEarth(int ellipsoid_identifier) {
  m_Initialize();
  CEarth::SetEllipsoid(ellipsoid_identifier);
}

CEarth::~CEarth() {}

void CEarth::m_Initialize() {
  m_PolarRadiusInMeters = 0.0;
  m_EquatorialRadiusInMeters = 0.0;
  m_Flattening = 0.0;
  m_EccentricitySquared = 0.0;
  m_EllipsoidID = Unknown;
}

// f = |a - b| / a.  With either radius 0 the flattening is left as it was.
void CEarth::m_ComputeFlattening() {
  if (m_EquatorialRadiusInMeters == 0.0 || m_PolarRadiusInMeters == 0.0)
    return;
  m_Flattening =
      CMath::AbsoluteValue(m_EquatorialRadiusInMeters - m_PolarRadiusInMeters) /
      m_EquatorialRadiusInMeters;
}

// e^2 = 2f - f^2, exactly 0 for a sphere.
void CEarth::m_ComputeEccentricitySquared() {
  if (m_Flattening == 0.0) {
    m_EccentricitySquared = 0.0;
    return;
  }
  m_EccentricitySquared =
      (m_Flattening + m_Flattening) - (m_Flattening * m_Flattening);
}

void CEarth::SetEllipsoid(int ellipsoid_identifier) {
  m_EllipsoidID = ellipsoid_identifier;

  // Negative ids wrap to large unsigned values; Custom (26) cannot be
  // selected by number either.
  if (static_cast<unsigned>(ellipsoid_identifier) > 25u ||
      ellipsoid_identifier == 0) {
    m_Initialize();
    return;
  }

  // Equatorial radius a and polar radius b, metres.
  double a = 0.0;
  double b = 0.0;
  switch (ellipsoid_identifier) {
    case Perfect_Sphere: a = 6378137.0; b = 6378137.0; break;
    case Airy: a = 6377563.396; b = 6356256.909237; break;
    case Austrailian_National:
    case South_American_1969: a = 6378160.0; b = 6356774.719195; break;
    case Bessell_1841: a = 6377397.155; b = 6356078.962818; break;
    case Bessel_1841_Nambia: a = 6377483.865; b = 6356165.382966; break;
    case Clarke_1866: a = 6378206.4; b = 6356583.799999; break;
    case Clarke_1880: a = 6378249.145; b = 6356514.86955; break;
    case Everest: a = 6377276.345; b = 6356075.41314; break;
    case Fischer_1960_Mercury: a = 6378166.0; b = 6356784.283607; break;
    case Fischer_1968: a = 6378150.0; b = 6356768.337244; break;
    case GRS_1967: a = 6378160.0; b = 6356774.516091; break;
    case GRS_1980: a = 6378137.0; b = 6356752.31414; break;
    case Helmert_1906: a = 6378200.0; b = 6356818.169628; break;
    case Hough: a = 6378270.0; b = 6356794.343434; break;
    case International: a = 6378388.0; b = 6356911.946128; break;
    case Krassovsky: a = 6378245.0; b = 6356863.018773; break;
    case Modified_Airy: a = 6377340.189; b = 6356034.447939; break;
    case Modified_Everest: a = 6377304.063; b = 6356103.038993; break;
    case Modified_Fischer_1960: a = 6378155.0; b = 6356773.320483; break;
    case Topex_Poseidon_Pathfinder_ITRF:
      a = 6378136.3; b = 6356751.600562938; break;
    case WGS_60: a = 6378165.0; b = 6356783.286959; break;
    case WGS_66: a = 6378145.0; b = 6356759.769489; break;
    case WGS_72: a = 6378135.0; b = 6356750.520016; break;
    case WGS_84: a = 6378137.0; b = 6356752.314245179; break;
    default: break;  // not reached: ids outside 1..25 were handled above
  }
  m_EquatorialRadiusInMeters = a;
  m_PolarRadiusInMeters = b;

  m_ComputeFlattening();
  m_ComputeEccentricitySquared();
}

void CEarth::SetEllipsoidByRadii(double equatorial_radius,
                                 double polar_radius) {
  m_EquatorialRadiusInMeters = equatorial_radius;
  m_PolarRadiusInMeters = polar_radius;
  m_EllipsoidID = Custom;
  m_ComputeFlattening();
  m_ComputeEccentricitySquared();
}

void CEarth::SetEllipsoidByEquatorialRadiusAndFlattening(
    double equatorial_radius, double flattening) {
  m_EquatorialRadiusInMeters = equatorial_radius;
  m_Flattening = flattening;
  m_EllipsoidID = Custom;
  m_PolarRadiusInMeters =
      m_EquatorialRadiusInMeters - (m_EquatorialRadiusInMeters * m_Flattening);
  m_ComputeEccentricitySquared();
}

const char* CEarth::GetEllipsoidName() { return _EllipsoidName[m_EllipsoidID]; }

double CEarth::GetEquatorialRadiusInMeters() const {
  return m_EquatorialRadiusInMeters;
}

double CEarth::GetPolarRadiusInMeters() const { return m_PolarRadiusInMeters; }

// ---------------------------------------------------------------------------
// Coordinate conversions

// Geodetic (degrees, metres) to earth-centred (metres).  X meets the equator
// at longitude 0, Y at 90 degrees east, Z points to the north pole.
void CEarth::Convert(const CPolarCoordinate& polar_coordinate,
                     CEarthCoordinate& cartesian_coordinate) const {
  const double phi = CMath::ConvertDegreesToRadians(
      polar_coordinate.GetUpDownAngleInDegrees());
  const double lambda = CMath::ConvertDegreesToRadians(
      polar_coordinate.GetLeftRightAngleInDegrees());
  const double h = polar_coordinate.GetDistanceFromSurfaceInMeters();

  const double sin_phi = CMath::Sine(phi);
  const double cos_phi = CMath::Cosine(phi);
  const double e2 = m_EccentricitySquared;

  // N: radius of curvature in the prime vertical, the distance from the
  // surface to the polar axis along the normal.
  const double w = CMath::SquareRoot(1.0 - e2 * sin_phi * sin_phi);
  const double N = m_EquatorialRadiusInMeters / w;

  const double x = (h + N) * cos_phi * CMath::Cosine(lambda);
  const double y = (h + N) * cos_phi * CMath::Sine(lambda);
  const double z = ((1.0 - e2) * N + h) * sin_phi;
  cartesian_coordinate.Set(x, y, z);
}

// Earth-centred (metres) to geodetic (degrees, metres) by fixed-point
// iteration on the tangent of the latitude: t = Z / (p - a e2 cos(phi_r))
// where cos(phi_r) = 1 / sqrt((1 - e2) t^2 + 1).
void CEarth::Convert(const CEarthCoordinate& cartesian_coordinate,
                     CPolarCoordinate& polar_coordinate) const {
  const double X = cartesian_coordinate.GetXCoordinateInMeters();
  const double Y = cartesian_coordinate.GetYCoordinateInMeters();
  const double Z = cartesian_coordinate.GetZCoordinateInMeters();
  const double a = m_EquatorialRadiusInMeters;
  const double e2 = m_EccentricitySquared;

  const double k = a * e2;
  const double p = CMath::SquareRoot(Y * Y + X * X);  // distance to the axis
  const double q = 1.0 - e2;

  double t = Z / p / q;  // first estimate: the geocentric tangent over 1 - e2
  bool converged = false;
  for (int pass = 0; pass < kMaxConvertPasses; ++pass) {
    const double t_next = Z / (p - k / CMath::SquareRoot(q * t * t + 1.0));
    // Written so that a difference that is not a number ends the loop.
    const bool settled = !(CMath::AbsoluteValue(t_next - t) > kConvertTolerance);
    t = t_next;
    if (settled) {
      converged = true;
      break;
    }
  }
  if (!converged) {
    polar_coordinate.Set(0.0, 0.0, 0.0);
    return;
  }

  const double phi = CMath::ArcTangent(t);
  const double lambda = CMath::ArcTangentOfYOverX(Y, X);

  const double sin_phi = CMath::Sine(phi);
  const double w = CMath::SquareRoot(1.0 - e2 * (sin_phi * sin_phi));
  const double N = a / w;

  // Near the equator divide the distance to the axis by cos phi, nearer the
  // poles the distance to the equatorial plane by sin phi: each is the
  // better conditioned there.
  double h;
  if (CMath::AbsoluteValue(phi) < kHeightFormulaSwitch)
    h = p / CMath::Cosine(phi) - N;
  else
    h = Z / sin_phi - N + N * e2;

  polar_coordinate.Set(CMath::ConvertRadiansToDegrees(phi),
                       CMath::ConvertRadiansToDegrees(lambda), h);
}

// ---------------------------------------------------------------------------
// Line of sight and horizon

double CEarth::GetLineOfSightDistance(const CEarthCoordinate& point_1,
                                      const CEarthCoordinate& point_2) const {
  const double dx =
      point_1.GetXCoordinateInMeters() - point_2.GetXCoordinateInMeters();
  const double dy =
      point_1.GetYCoordinateInMeters() - point_2.GetYCoordinateInMeters();
  const double dz =
      point_1.GetZCoordinateInMeters() - point_2.GetZCoordinateInMeters();
  return CMath::SquareRoot(dz * dz + (dx * dx + dy * dy));
}

double CEarth::GetLineOfSightDistance(const CPolarCoordinate& point_1,
                                      const CEarthCoordinate& point_2) const {
  CEarthCoordinate cartesian_1;
  Convert(point_1, cartesian_1);
  return GetLineOfSightDistance(cartesian_1, point_2);
}

double CEarth::GetLineOfSightDistance(const CEarthCoordinate& point_1,
                                      const CPolarCoordinate& point_2) const {
  CEarthCoordinate cartesian_2;
  Convert(point_2, cartesian_2);
  return GetLineOfSightDistance(point_1, cartesian_2);
}

double CEarth::GetLineOfSightDistance(const CPolarCoordinate& point_1,
                                      const CPolarCoordinate& point_2) const {
  CEarthCoordinate cartesian_1;
  CEarthCoordinate cartesian_2;
  Convert(point_1, cartesian_1);
  Convert(point_2, cartesian_2);
  return GetLineOfSightDistance(cartesian_1, cartesian_2);
}

// Rule-of-thumb horizon with atmospheric refraction, sqrt(17 h): h in
// metres gives kilometres.
double CEarth::GetDistanceToHorizon(const CPolarCoordinate& point_1) const {
  return CMath::SquareRoot(17.0 * point_1.GetDistanceFromSurfaceInMeters());
}

double CEarth::GetDistanceToHorizon(const CEarthCoordinate& point_1) const {
  CPolarCoordinate polar_1;
  Convert(point_1, polar_1);
  return GetDistanceToHorizon(polar_1);
}

// Height of the triangle (current_location, point_a, point_b) over the side
// a-b: twice its area, by Heron's formula, over the length of that side.
double CEarth::GetLineOfSightDistanceFromCourse(
    const CEarthCoordinate& current_location, const CEarthCoordinate& point_a,
    const CEarthCoordinate& point_b) const {
  const double d_a = GetLineOfSightDistance(current_location, point_a);
  const double d_b = GetLineOfSightDistance(current_location, point_b);
  const double d_ab = GetLineOfSightDistance(point_a, point_b);

  const double p = (d_a + d_b + d_ab) * 0.5;  // half the perimeter
  const double area =
      CMath::SquareRoot((p - d_a) * p * (p - d_b) * (p - d_ab));
  return 2.0 * area / d_ab;
}

// ---------------------------------------------------------------------------
// Inverse problem

// Vincenty's inverse formula: iterate on the longitude difference x on the
// auxiliary sphere until it repeats within kInverseTolerance.  Heights are
// ignored.  Headings in degrees clockwise from north: at point 1 in
// [0, 360), at point 2 back toward point 1 in [0, 360].
double CEarth::GetSurfaceDistance(
    const CPolarCoordinate& point_1, const CPolarCoordinate& point_2,
    double* heading_from_point_1_to_point_2_p,
    double* heading_from_point_2_to_point_1_p) const {
  const double phi_1 =
      CMath::ConvertDegreesToRadians(point_1.GetUpDownAngleInDegrees());
  const double lambda_1 =
      CMath::ConvertDegreesToRadians(point_1.GetLeftRightAngleInDegrees());
  const double phi_2 =
      CMath::ConvertDegreesToRadians(point_2.GetUpDownAngleInDegrees());
  const double lambda_2 =
      CMath::ConvertDegreesToRadians(point_2.GetLeftRightAngleInDegrees());
  const double a = m_EquatorialRadiusInMeters;
  const double f = m_Flattening;

  const double r = 1.0 - f;

  // At +-90 degrees cos phi is a tiny non-zero double; nothing special.
  const double tangent_1 = r * CMath::Sine(phi_1) / CMath::Cosine(phi_1);
  const double tangent_2 = r * CMath::Sine(phi_2) / CMath::Cosine(phi_2);

  const double c_value_1 = 1.0 / CMath::SquareRoot(tangent_1 * tangent_1 + 1.0);
  const double s_value_1 = c_value_1 * tangent_1;
  const double c_value_2 = 1.0 / CMath::SquareRoot(tangent_2 * tangent_2 + 1.0);

  const double s = c_value_1 * c_value_2;
  const double B = s * tangent_2;
  const double F = B * tangent_1;

  // No reduction of the longitude difference to a range.
  double x = lambda_2 - lambda_1;

  double sx, cx, T1, T2, sy, cy, y, sa, c2a, cz, e, c, d = x;
  int pass = 0;
  int pass_limit = kMaxInversePasses;
  do {
    sx = CMath::Sine(x);
    cx = CMath::Cosine(x);
    T1 = c_value_2 * sx;
    T2 = B - s_value_1 * c_value_2 * cx;
    sy = CMath::SquareRoot(T1 * T1 + T2 * T2);
    cy = s * cx + F;
    y = CMath::ArcTangentOfYOverX(sy, cy);

    // Coincident points: both the numerator and sin(sigma) are zero.
    if (s * sx == 0.0 && sy == 0.0)
      sa = 1.0;
    else
      sa = s * sx / sy;

    c2a = 1.0 - sa * sa;
    cz = 2.0 * F;
    if (c2a > 0.0) cz = -2.0 * F / c2a + cy;  // equatorial lines keep 2F

    e = 2.0 * (cz * cz) - 1.0;
    c = ((-3.0 * c2a + 4.0) * f + 4.0) * c2a * f / 16.0;

    const double before = d;
    d = x;
    // lambda_2 is added before lambda_1 is subtracted.
    x = ((c * (e * cy) + cz) * sy * c + y) * sa * (1.0 - c) * f + lambda_2 -
        lambda_1;
    ++pass;
    // A pass depends on nothing but its x, so once x repeats the value of
    // two passes ago the passes alternate between the same two states up to
    // the pass limit. Stop at the pass that the limit would end on: this one
    // when the passes left are even in number, the next one otherwise.
    if (pass >= 2 && pass_limit == kMaxInversePasses &&
        std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(before))
      pass_limit = pass + (kMaxInversePasses - pass) % 2;
    // Written so that a difference that is not a number leaves the loop.
  } while (CMath::AbsoluteValue(d - x) > kInverseTolerance &&
           pass < pass_limit);

  // Headings from sx, cx, T1 and T2 of the last pass.
  if (heading_from_point_1_to_point_2_p != nullptr) {
    double heading = CMath::ConvertRadiansToDegrees(
        CMath::ArcTangentOfYOverX(T1, T2));
    if (heading < 0.0) heading += 360.0;
    *heading_from_point_1_to_point_2_p = heading;
  }
  if (heading_from_point_2_to_point_1_p != nullptr) {
    double heading = CMath::ConvertRadiansToDegrees(
        CMath::ArcTangentOfYOverX(c_value_1 * sx,
                                  B * cx - s_value_1 * c_value_2) +
        kPi);
    if (heading < 0.0) heading += 360.0;
    *heading_from_point_2_to_point_1_p = heading;
  }

  // Arc length from c2a, e, cy, cz, sy and y of the last pass.
  double X = CMath::SquareRoot((1.0 / r / r - 1.0) * c2a + 1.0) + 1.0;
  X = (X - 2.0) / X;
  const double C = (1.0 + X * X / 4.0) / (1.0 - X);
  const double D = (0.375 * (X * X) - 1.0) * X;
  const double S = 1.0 - e - e;

  return C *
         (y + ((((4.0 * (sy * sy) - 3.0) * S * cz * D / 6.0 - e * cy) * D /
                    4.0 +
                cz) *
               sy * D)) *
         a * r;
}

double CEarth::GetSurfaceDistance(
    const CEarthCoordinate& point_1, const CEarthCoordinate& point_2,
    double* heading_from_point_1_to_point_2_p,
    double* heading_from_point_2_to_point_1_p) const {
  CPolarCoordinate polar_1;
  CPolarCoordinate polar_2;
  Convert(point_1, polar_1);
  Convert(point_2, polar_2);
  return GetSurfaceDistance(polar_1, polar_2,
                            heading_from_point_1_to_point_2_p,
                            heading_from_point_2_to_point_1_p);
}

double CEarth::GetSurfaceDistance(
    const CEarthCoordinate& point_1, const CPolarCoordinate& point_2,
    double* heading_from_point_1_to_point_2_p,
    double* heading_from_point_2_to_point_1_p) const {
  CPolarCoordinate polar_1;
  Convert(point_1, polar_1);
  return GetSurfaceDistance(polar_1, point_2,
                            heading_from_point_1_to_point_2_p,
                            heading_from_point_2_to_point_1_p);
}

double CEarth::GetSurfaceDistance(
    const CPolarCoordinate& point_1, const CEarthCoordinate& point_2,
    double* heading_from_point_1_to_point_2_p,
    double* heading_from_point_2_to_point_1_p) const {
  CPolarCoordinate polar_2;
  Convert(point_2, polar_2);
  return GetSurfaceDistance(point_1, polar_2,
                            heading_from_point_1_to_point_2_p,
                            heading_from_point_2_to_point_1_p);
}

// ---------------------------------------------------------------------------
// Direct problem

// Vincenty's direct formula, iterated on the arc y on the auxiliary sphere.
// distance in metres, direction in degrees clockwise from north.  Writes the
// latitude and longitude (degrees) of point_2; its height is left alone and
// the longitude is not brought into any range.
void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(
    const CPolarCoordinate& point_1, double distance, double direction,
    CPolarCoordinate& point_2, double* heading_at_point_2_p) {
  const double a = m_EquatorialRadiusInMeters;
  const double f = m_Flattening;
  const double azimuth = CMath::ConvertDegreesToRadians(direction);

  const double sf = CMath::Sine(azimuth);
  const double cf = CMath::Cosine(azimuth);
  const double r = 1.0 - f;

  const double phi_1 =
      CMath::ConvertDegreesToRadians(point_1.GetUpDownAngleInDegrees());
  const double lambda_1 =
      CMath::ConvertDegreesToRadians(point_1.GetLeftRightAngleInDegrees());
  const double tu = r * CMath::Sine(phi_1) / CMath::Cosine(phi_1);

  // B: twice the arc from the equator crossing to the start point.
  double B = 0.0;
  if (cf != 0.0) B = 2.0 * CMath::ArcTangentOfYOverX(tu, cf);

  const double cu = 1.0 / CMath::SquareRoot(tu * tu + 1.0);
  const double sa = cu * sf;
  const double su = tu * cu;
  const double c2a = 1.0 - sa * sa;

  double x = CMath::SquareRoot((1.0 / r / r - 1.0) * c2a + 1.0) + 1.0;
  x = (x - 2.0) / x;
  const double C = (x * x / 4.0 + 1.0) / (1.0 - x);
  const double d = (0.375 * (x * x) - 1.0) * x;

  const double T = distance / r / a / C;  // first estimate of the arc
  double y = T;

  double sy, cy, cz, e, y_previous;
  int pass = 0;
  do {
    sy = CMath::Sine(y);
    cy = CMath::Cosine(y);
    cz = CMath::Cosine(B + y);
    e = 2.0 * (cz * cz) - 1.0;
    y_previous = y;
    y = ((((4.0 * (sy * sy) - 3.0) * (2.0 * e - 1.0) * cz * d / 6.0 +
           e * cy) *
              d / 4.0 -
          cz) *
         sy * d) +
        T;
    ++pass;
    // Written so that a difference that is not a number leaves the loop.
  } while (CMath::AbsoluteValue(y - y_previous) > kDirectTolerance &&
           pass < kMaxDirectPasses);

  const double B2 = cf * cu * cy - su * sy;
  const double phi_2 = CMath::ArcTangentOfYOverX(
      cu * sy * cf + su * cy, r * CMath::SquareRoot(sa * sa + B2 * B2));

  // Longitude difference on the auxiliary sphere.
  const double X = CMath::ArcTangentOfYOverX(sy * sf, cu * cy - su * sy * cf);

  const double c = ((-3.0 * c2a + 4.0) * f + 4.0) * c2a * f / 16.0;
  const double lambda_2 =
      (X + lambda_1) - ((cz + c * (e * cy)) * sy * c + y) * sa * (1.0 - c) * f;

  point_2.SetUpDownAngleInDegrees(CMath::ConvertRadiansToDegrees(phi_2));
  point_2.SetLeftRightAngleInDegrees(CMath::ConvertRadiansToDegrees(lambda_2));

  // The azimuth at point 2: tan alpha_2 = sin alpha / B2.
  if (heading_at_point_2_p != nullptr) {
    double heading =
        CMath::ConvertRadiansToDegrees(CMath::ArcTangentOfYOverX(sa, B2));
    if (heading < 0.0) heading += 360.0;
    *heading_at_point_2_p = heading;
  }
}

void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(
    const CEarthCoordinate& point_1, double distance, double direction,
    CEarthCoordinate& point_2) {
  CPolarCoordinate polar_1;
  CPolarCoordinate polar_2;
  Convert(point_1, polar_1);
  AddSurfaceDistanceAndDirectionToCoordinate(polar_1, distance, direction,
                                             polar_2);
  Convert(polar_2, point_2);
}

void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(
    const CEarthCoordinate& point_1, double distance, double direction,
    CPolarCoordinate& point_2) {
  CPolarCoordinate polar_1;
  Convert(point_1, polar_1);
  AddSurfaceDistanceAndDirectionToCoordinate(polar_1, distance, direction,
                                             point_2);
}

void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(
    const CPolarCoordinate& point_1, double distance, double direction,
    CEarthCoordinate& point_2) {
  CPolarCoordinate polar_2;
  AddSurfaceDistanceAndDirectionToCoordinate(point_1, distance, direction,
                                             polar_2);
  Convert(polar_2, point_2);
}

// Reduces a straight-line distance (metres) between point_1 at its height
// and point_2 at height_above_surface_of_point_2 to an arc on a sphere of
// the radius of curvature R in the given azimuth, then solves the direct
// problem with that arc.  The height of point_2 is not written.
void CEarth::AddLineOfSightDistanceAndDirectionToCoordinate(
    const CPolarCoordinate& point_1, double distance, double direction,
    CPolarCoordinate& point_2, double height_above_surface_of_point_2) {
  const double a = m_EquatorialRadiusInMeters;
  const double b = m_PolarRadiusInMeters;

  // Second eccentricity squared, e'^2 = (a^2 - b^2) / b^2.
  const double ep2 = (a * a - b * b) / (b * b);
  const double phi_1 =
      CMath::ConvertDegreesToRadians(point_1.GetUpDownAngleInDegrees());
  const double alpha = CMath::ConvertDegreesToRadians(direction);

  const double cos_phi = CMath::Cosine(phi_1);
  const double cos_alpha = CMath::Cosine(alpha);

  // Polar radius of curvature c, prime-vertical N, and Euler's radius R in
  // the azimuth alpha.
  const double c = a * a / b;
  const double N = c / CMath::SquareRoot(1.0 + ep2 * (cos_phi * cos_phi));
  const double R =
      N / (1.0 + ep2 * (cos_phi * cos_phi) * (cos_alpha * cos_alpha));

  const double h1 = point_1.GetDistanceFromSurfaceInMeters();
  const double h2 = height_above_surface_of_point_2;

  // Chord at the surface, then the arc it subtends.
  const double s0 = CMath::SquareRoot(
      (distance * distance - (h2 - h1) * (h2 - h1)) /
      ((h1 / R + 1.0) * (h2 / R + 1.0)));
  const double surface_distance = CMath::ArcSine(s0 / (2.0 * R)) * (2.0 * R);

  AddSurfaceDistanceAndDirectionToCoordinate(point_1, surface_distance,
                                             direction, point_2);
}
