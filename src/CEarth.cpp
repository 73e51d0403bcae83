// Earth model: ellipsoid table and selection.
// (The geodesic computations are filled in by the earth-model work.)

#include "GFC.h"

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

void CEarth::SetEllipsoid(int ellipsoid_identifier) {
  m_EllipsoidID = ellipsoid_identifier;
  if (static_cast<unsigned>(ellipsoid_identifier) > 25u ||
      ellipsoid_identifier == 0)
    m_Initialize();
}

const char* CEarth::GetEllipsoidName() { return _EllipsoidName[m_EllipsoidID]; }

// Placeholders until the earth model is complete.
void CEarth::AddLineOfSightDistanceAndDirectionToCoordinate(const CPolarCoordinate&, double, double, CPolarCoordinate&, double) {}
void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(const CEarthCoordinate&, double, double, CEarthCoordinate&) {}
void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(const CEarthCoordinate&, double, double, CPolarCoordinate&) {}
void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(const CPolarCoordinate&, double, double, CEarthCoordinate&) {}
void CEarth::AddSurfaceDistanceAndDirectionToCoordinate(const CPolarCoordinate&, double, double, CPolarCoordinate&) {}
void CEarth::Convert(const CEarthCoordinate&, CPolarCoordinate&) const {}
void CEarth::Convert(const CPolarCoordinate&, CEarthCoordinate&) const {}
double CEarth::GetDistanceToHorizon(const CEarthCoordinate&) const { return 0; }
double CEarth::GetDistanceToHorizon(const CPolarCoordinate&) const { return 0; }
double CEarth::GetEquatorialRadiusInMeters() const { return m_EquatorialRadiusInMeters; }
double CEarth::GetPolarRadiusInMeters() const { return m_PolarRadiusInMeters; }
double CEarth::GetLineOfSightDistanceFromCourse(const CEarthCoordinate&, const CEarthCoordinate&, const CEarthCoordinate&) const { return 0; }
double CEarth::GetLineOfSightDistance(const CEarthCoordinate&, const CEarthCoordinate&) const { return 0; }
double CEarth::GetLineOfSightDistance(const CPolarCoordinate&, const CEarthCoordinate&) const { return 0; }
double CEarth::GetLineOfSightDistance(const CEarthCoordinate&, const CPolarCoordinate&) const { return 0; }
double CEarth::GetLineOfSightDistance(const CPolarCoordinate&, const CPolarCoordinate&) const { return 0; }
double CEarth::GetSurfaceDistance(const CEarthCoordinate&, const CEarthCoordinate&, double*, double*) const { return 0; }
double CEarth::GetSurfaceDistance(const CEarthCoordinate&, const CPolarCoordinate&, double*, double*) const { return 0; }
double CEarth::GetSurfaceDistance(const CPolarCoordinate&, const CEarthCoordinate&, double*, double*) const { return 0; }
double CEarth::GetSurfaceDistance(const CPolarCoordinate&, const CPolarCoordinate&, double*, double*) const { return 0; }
void CEarth::SetEllipsoidByRadii(double, double) {}
void CEarth::SetEllipsoidByEquatorialRadiusAndFlattening(double, double) {}
void CEarth::m_ComputeFlattening() {}
void CEarth::m_ComputeEccentricitySquared() {}
