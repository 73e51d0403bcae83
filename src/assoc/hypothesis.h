// A hypothesis of one source: a place, an origin time and the arrivals it
// explains; its least-squares fit on the sphere, the arrivals it predicts,
// its growth from a seed and its score.
//
// Notation: x is the source's unit vector; in the fit, the parameters are
// its displacement east and north (km) in the tangent plane at x and the
// origin time t0 (s). For an arrival, rb and rt are the bearing (degrees)
// and time (s) residuals, observed minus predicted; vb and vt their
// variances, those of the observation plus, for a prediction, those the
// hypothesis's own uncertainty adds. The contribution of an arrival is the
// log of its likelihood ratio: the density of its bearing and time under
// the hypothesis over its clutter density.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "assoc/catalogue.h"

namespace assoc {

struct Hypothesis {
  Vec3 x{1.0, 0.0, 0.0};
  double t0 = 0.0;
  double cov[3][3] = {};  ///< of (east km, north km, t0 s)
  std::vector<Id> members;  ///< arrivals, ascending
  std::vector<Id> banned;   ///< never to be members, ascending
  /// The members' contributions at the fit, summed.
  double score = -std::numeric_limits<double>::infinity();
};

/// Arrivals of the window that events hold already.
class Claims {
 public:
  explicit Claims(const Catalogue& c)
      : base_(c.first()), flags_(c.end() - c.first(), 0) {}
  bool operator[](Id id) const { return flags_[id - base_] != 0; }
  void claim(Id id) { flags_[id - base_] = 1; }

 private:
  Id base_;
  std::vector<char> flags_;
};

class Fitter {
 public:
  Fitter(const Catalogue& catalogue, const Model& model, const Options& options);

  /// Whether the bearings of arrivals i and j (at two arrays) cross in
  /// front of both within reach, at an angle wide enough to start from;
  /// `x` receives the crossing and `sin_crossing` the sine of the angle.
  bool cross_within_reach(Id i, Id j, Vec3& x, double& sin_crossing) const;

  /// The hypothesis of the crossing of arrivals i and j, or false when
  /// their bearings do not cross in front of both within reach, their
  /// times do not fit one origin, or either explains nothing there.
  bool pair(Id i, Id j, Hypothesis& h) const;

  /// Grows `h` from its members: adds the arrival of the best contribution
  /// one at a time, refitting after each, then sets aside members that the
  /// fit leaves with a misfit or no contribution. False when what is left
  /// is too small an event (options' least detections and arrays).
  bool grow(Hypothesis& h, const Claims* claims) const;

  /// Refits `h` after a change of members, sets aside what does not fit;
  /// false when too small.
  bool settle(Hypothesis& h) const;

  /// The contribution of each member of `h` at its fit.
  std::vector<double> contributions(const Hypothesis& h) const;

  /// Whether `members` are enough detections from enough arrays.
  bool large_enough(const std::vector<Id>& members) const;

 private:
  struct SitePrediction {
    double bearing;  ///< degrees
    double arc;      ///< radians
    double km;       ///< distance, km
    double t0;       ///< origin time, s
    double vb, vt;   ///< variances added by the hypothesis's uncertainty
  };
  SitePrediction predict(const Hypothesis& h, const Site& s,
                         bool uncertain) const;
  double contribution(const Arrival& a, const SitePrediction& p) const;
  /// The further evidence a member at `arc` radians must bring.
  double far(double arc) const;
  /// The weighted squares of h's residuals at (x, t0); with `a`, also the
  /// normal matrix and (in `g`) the gradient of the linearised problem.
  double misfit(const Hypothesis& h, const Vec3& x, double t0,
                double (*a)[3], double* g) const;
  bool fit(Hypothesis& h) const;
  void best_addition(const Hypothesis& h, const Claims* claims, Id& best,
                     double& best_value) const;
  bool prune(Hypothesis& h) const;
  double score(const Hypothesis& h) const;

  const Catalogue& c_;
  const Model& m_;
  const Options& o_;
  double sin2_min_crossing_;
};

}  // namespace assoc
