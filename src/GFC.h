// Earth model: a reference ellipsoid with the geodesic inverse and direct
// problems, conversions between geodetic (polar) and earth-centred
// coordinates, and line-of-sight services.
//
// Units: angles in degrees at every interface (latitude north positive,
// longitude east positive, azimuths clockwise from north), lengths in metres.
#pragma once

#include <cmath>

class CPolarCoordinate;
class CEarthCoordinate;

/// Thin wrappers over the mathematical functions used by the earth model.
class CMath {
 public:
  static double AbsoluteValue(double value) { return std::fabs(value); }
  static double ArcCosine(double value) { return std::acos(value); }
  static double ArcSine(double value) { return std::asin(value); }
  static double ArcTangent(double value) { return std::atan(value); }
  /// atan2(y, x), radians.
  static double ArcTangentOfYOverX(double y, double x) {
    return std::atan2(y, x);
  }
  static double Ceiling(double value) { return std::ceil(value); }
  static double Cosine(double value) { return std::cos(value); }
  static double HyperbolicCosine(double value) { return std::cosh(value); }
  static double Pi() { return 3.141592653589793; }
  static double Sine(double value) { return std::sin(value); }
  static double SquareRoot(double value) { return std::sqrt(value); }
  /// Degrees to radians: multiplies by pi/180 as a double.
  static double ConvertDegreesToRadians(double degrees) {
    return degrees * 0.017453292519943295;
  }
  /// Radians to degrees: multiplies by 180/pi as a double.
  static double ConvertRadiansToDegrees(double radians) {
    return radians * 57.29577951308232;
  }
};

/// Geodetic position: latitude and longitude (degrees), height (metres).
class CPolarCoordinate {
 public:
  CPolarCoordinate();
  CPolarCoordinate(const CPolarCoordinate& source);
  ~CPolarCoordinate() = default;

  void Copy(const CPolarCoordinate& source);
  void Get(double& up_down_angle, double& left_right_angle,
           double& distance_from_surface) const;
  double GetUpDownAngleInDegrees() const { return m_UpDownAngleInDegrees; }
  double GetLeftRightAngleInDegrees() const {
    return m_LeftRightAngleInDegrees;
  }
  double GetDistanceFromSurfaceInMeters() const {
    return m_DistanceFromSurfaceInMeters;
  }
  void Set(double up_down_angle, double left_right_angle,
           double distance_from_surface);
  void SetUpDownAngleInDegrees(double v) { m_UpDownAngleInDegrees = v; }
  void SetLeftRightAngleInDegrees(double v) { m_LeftRightAngleInDegrees = v; }
  void SetDistanceFromSurfaceInMeters(double v) {
    m_DistanceFromSurfaceInMeters = v;
  }
  CPolarCoordinate& operator=(const CPolarCoordinate& source);

 protected:
  double m_UpDownAngleInDegrees;         ///< geodetic latitude, degrees
  double m_LeftRightAngleInDegrees;      ///< longitude, degrees
  double m_DistanceFromSurfaceInMeters;  ///< height above the ellipsoid, m
};

/// Earth-centred, earth-fixed position (metres).
class CEarthCoordinate {
 public:
  CEarthCoordinate();
  CEarthCoordinate(const CEarthCoordinate& source);
  ~CEarthCoordinate() = default;

  void Copy(const CEarthCoordinate& source);
  void Get(double& x, double& y, double& z) const;
  double GetXCoordinateInMeters() const { return m_X_CoordinateInMeters; }
  double GetYCoordinateInMeters() const { return m_Y_CoordinateInMeters; }
  double GetZCoordinateInMeters() const { return m_Z_CoordinateInMeters; }
  void Set(double x, double y, double z);
  void SetXCoordinateInMeters(double v) { m_X_CoordinateInMeters = v; }
  void SetYCoordinateInMeters(double v) { m_Y_CoordinateInMeters = v; }
  void SetZCoordinateInMeters(double v) { m_Z_CoordinateInMeters = v; }
  CEarthCoordinate& operator=(const CEarthCoordinate& source);

 protected:
  double m_X_CoordinateInMeters;
  double m_Y_CoordinateInMeters;
  double m_Z_CoordinateInMeters;
};

/// A reference ellipsoid and the services measured on it.
class CEarth {
 protected:
  // The ellipsoid in force.  These come first in the object, ahead of the
  // two enumeration members below.
  double m_PolarRadiusInMeters;       ///< b, semi-minor axis, metres
  double m_EquatorialRadiusInMeters;  ///< a, semi-major axis, metres
  double m_Flattening;                ///< f = |a - b| / a (not 1/f)
  double m_EccentricitySquared;       ///< e^2 = 2f - f^2; exactly 0 if f is 0
  int m_EllipsoidID;                  ///< the _EllipsoidType in force

 public:
  enum _EllipsoidType {
    Unknown = 0,
    Perfect_Sphere = 1,
    Airy = 2,
    Austrailian_National = 3,
    Bessell_1841 = 4,
    Bessel_1841_Nambia = 5,
    Clarke_1866 = 6,
    Clarke_1880 = 7,
    Everest = 8,
    Fischer_1960_Mercury = 9,
    Fischer_1968 = 10,
    GRS_1967 = 11,
    GRS_1980 = 12,
    Helmert_1906 = 13,
    Hough = 14,
    International = 15,
    Krassovsky = 16,
    Modified_Airy = 17,
    Modified_Everest = 18,
    Modified_Fischer_1960 = 19,
    South_American_1969 = 20,
    Topex_Poseidon_Pathfinder_ITRF = 21,
    WGS_60 = 22,
    WGS_66 = 23,
    WGS_72 = 24,
    WGS_84 = 25,
    Custom = 26
  } ELLIPSOIDS;

  enum _DatumTypes { NAD_27 = Clarke_1866, Tokyo = Bessell_1841 } DATUMS;

  /// Names of the ellipsoids, indexed by _EllipsoidType (27 entries).
  static const char* const _EllipsoidName[27];

  explicit CEarth(int ellipsoid_identifier = WGS_84);
  virtual ~CEarth();

  /// As the direct problem, with distance the straight line (metres) from
  /// point_1 at its height to a point at height_above_surface_of_point_2.
  virtual void AddLineOfSightDistanceAndDirectionToCoordinate(
      const CPolarCoordinate& point_1, double distance, double direction,
      CPolarCoordinate& point_2, double height_above_surface_of_point_2);
  /// Point reached from point_1 along the geodesic of length distance
  /// (metres) leaving in direction (degrees clockwise from north), by
  /// Vincenty's direct formula.  The height of a polar point_2 is not written.
  /// A non-null heading_at_point_2_p (polar points only) receives the
  /// direction in which the geodesic continues at point_2 (degrees clockwise
  /// from north, [0, 360)).
  virtual void AddSurfaceDistanceAndDirectionToCoordinate(
      const CEarthCoordinate& point_1, double distance, double direction,
      CEarthCoordinate& point_2);
  virtual void AddSurfaceDistanceAndDirectionToCoordinate(
      const CEarthCoordinate& point_1, double distance, double direction,
      CPolarCoordinate& point_2);
  virtual void AddSurfaceDistanceAndDirectionToCoordinate(
      const CPolarCoordinate& point_1, double distance, double direction,
      CEarthCoordinate& point_2);
  virtual void AddSurfaceDistanceAndDirectionToCoordinate(
      const CPolarCoordinate& point_1, double distance, double direction,
      CPolarCoordinate& point_2, double* heading_at_point_2_p = nullptr);
  virtual void Convert(const CEarthCoordinate& cartesian_coordinate,
                       CPolarCoordinate& polar_coordinate) const;
  virtual void Convert(const CPolarCoordinate& polar_coordinate,
                       CEarthCoordinate& cartesian_coordinate) const;
  /// sqrt(17 h): h in metres gives the horizon distance in kilometres.
  virtual double GetDistanceToHorizon(const CEarthCoordinate& point_1) const;
  virtual double GetDistanceToHorizon(const CPolarCoordinate& point_1) const;
  virtual double GetEquatorialRadiusInMeters() const;
  virtual double GetPolarRadiusInMeters() const;
  virtual double GetLineOfSightDistanceFromCourse(
      const CEarthCoordinate& current_location,
      const CEarthCoordinate& point_a, const CEarthCoordinate& point_b) const;
  virtual double GetLineOfSightDistance(const CEarthCoordinate& point_1,
                                        const CEarthCoordinate& point_2) const;
  virtual double GetLineOfSightDistance(const CPolarCoordinate& point_1,
                                        const CEarthCoordinate& point_2) const;
  virtual double GetLineOfSightDistance(const CEarthCoordinate& point_1,
                                        const CPolarCoordinate& point_2) const;
  virtual double GetLineOfSightDistance(const CPolarCoordinate& point_1,
                                        const CPolarCoordinate& point_2) const;
  /// Geodesic distance (metres) between two points, by Vincenty's inverse
  /// formula; heights are ignored.  Non-null pointers receive the azimuth
  /// (degrees clockwise from north) at point 1 toward point 2, in [0, 360),
  /// and at point 2 back toward point 1, in [0, 360].  Earth-centred points
  /// are converted first.
  virtual double GetSurfaceDistance(
      const CEarthCoordinate& point_1, const CEarthCoordinate& point_2,
      double* heading_from_point_1_to_point_2_p = nullptr,
      double* heading_from_point_2_to_point_1_p = nullptr) const;
  virtual double GetSurfaceDistance(
      const CEarthCoordinate& point_1, const CPolarCoordinate& point_2,
      double* heading_from_point_1_to_point_2_p = nullptr,
      double* heading_from_point_2_to_point_1_p = nullptr) const;
  virtual double GetSurfaceDistance(
      const CPolarCoordinate& point_1, const CEarthCoordinate& point_2,
      double* heading_from_point_1_to_point_2_p = nullptr,
      double* heading_from_point_2_to_point_1_p = nullptr) const;
  virtual double GetSurfaceDistance(
      const CPolarCoordinate& point_1, const CPolarCoordinate& point_2,
      double* heading_from_point_1_to_point_2_p = nullptr,
      double* heading_from_point_2_to_point_1_p = nullptr) const;
  virtual void SetEllipsoid(int ellipsoid_identifier);
  virtual void SetEllipsoidByRadii(double equatorial_radius,
                                   double polar_radius);
  virtual void SetEllipsoidByEquatorialRadiusAndFlattening(
      double equatorial_radius, double flattening);
  virtual const char* GetEllipsoidName();

 protected:
  void m_ComputeFlattening();
  void m_ComputeEccentricitySquared();
  void m_Initialize();
};
