// Geodetic position record.

#include "GFC.h"

CPolarCoordinate::CPolarCoordinate()
    : m_UpDownAngleInDegrees(0.0),
      m_LeftRightAngleInDegrees(0.0),
      m_DistanceFromSurfaceInMeters(0.0) {}

CPolarCoordinate::CPolarCoordinate(const CPolarCoordinate& source) {
  Copy(source);
}

void CPolarCoordinate::Copy(const CPolarCoordinate& source) {
  m_UpDownAngleInDegrees = source.m_UpDownAngleInDegrees;
  m_LeftRightAngleInDegrees = source.m_LeftRightAngleInDegrees;
  m_DistanceFromSurfaceInMeters = source.m_DistanceFromSurfaceInMeters;
}

void CPolarCoordinate::Get(double& up_down_angle, double& left_right_angle,
                           double& distance_from_surface) const {
  up_down_angle = m_UpDownAngleInDegrees;
  left_right_angle = m_LeftRightAngleInDegrees;
  distance_from_surface = m_DistanceFromSurfaceInMeters;
}

void CPolarCoordinate::Set(double up_down_angle, double left_right_angle,
                           double distance_from_surface) {
  m_UpDownAngleInDegrees = up_down_angle;
  m_LeftRightAngleInDegrees = left_right_angle;
  m_DistanceFromSurfaceInMeters = distance_from_surface;
}

CPolarCoordinate& CPolarCoordinate::operator=(const CPolarCoordinate& source) {
  Copy(source);
  return *this;
}
