// Back-azimuth crossing method and its distance routines.
#pragma once

class Station;

/// Crossing point of the bearings of s1 and s2 by the back-azimuth method;
/// returns 0 when `loc` received a location, an error code otherwise.
int calculate_location_norsar(const Station& s1, const Station& s2,
                              Station& loc);
