// Earth-centred, earth-fixed position record.

#include "GFC.h"

CEarthCoordinate::CEarthCoordinate()
    : m_X_CoordinateInMeters(0.0),
      m_Y_CoordinateInMeters(0.0),
      m_Z_CoordinateInMeters(0.0) {}

CEarthCoordinate::CEarthCoordinate(const CEarthCoordinate& source) {
  Copy(source);
}

void CEarthCoordinate::Copy(const CEarthCoordinate& source) {
  m_X_CoordinateInMeters = source.m_X_CoordinateInMeters;
  m_Y_CoordinateInMeters = source.m_Y_CoordinateInMeters;
  m_Z_CoordinateInMeters = source.m_Z_CoordinateInMeters;
}

void CEarthCoordinate::Get(double& x, double& y,
                           double& z) const {
  x = m_X_CoordinateInMeters;
  y = m_Y_CoordinateInMeters;
  z = m_Z_CoordinateInMeters;
}

void CEarthCoordinate::Set(double x, double y,
                           double z) {
  m_X_CoordinateInMeters = x;
  m_Y_CoordinateInMeters = y;
  m_Z_CoordinateInMeters = z;
}

CEarthCoordinate& CEarthCoordinate::operator=(const CEarthCoordinate& source) {
  Copy(source);
  return *this;
}
