// Result writers: one interface, four formats.
#pragma once

#include <ostream>
#include <string>

#include "class_location.h"
#include "trace.h"

/// A result writer. `o` receives the results; `separator` is the front end's
/// result separator, read afresh at every write.
class output_base {
 public:
  output_base(std::ostream& o_, std::string& separator_)
      : o(o_), separator(separator_) {
    DEBUG_TRACE("base\n");
  }
  virtual ~output_base() = default;
  /// Called once before the first result.
  virtual void prolog() {}
  /// Called once after the last result.
  virtual void epilog() {}
  /// A located result: `loc` the crossing point, `p1`, `p2` the stations.
  virtual void valid(Station& loc, Station& p1, Station& p2) = 0;
  /// A result for which no acceptable location was found.
  virtual void invalid(Station& loc, Station& p1, Station& p2) = 0;

 protected:
  std::ostream& o;
  const std::string& separator;
};

/// Arguments for the map-drawing command: "arc=" and "line=".
class output_normal : public output_base {
 public:
  output_normal(std::ostream& o_, std::string& separator_);
  void valid(Station& loc, Station& p1, Station& p2) override;
  void invalid(Station& loc, Station& p1, Station& p2) override;
};

/// Longitude, latitude and the sound's travel times to the two stations.
class output_clean : public output_base {
 public:
  output_clean(std::ostream& o_, std::string& separator_);
  void valid(Station& loc, Station& p1, Station& p2) override;
  void invalid(Station& loc, Station& p1, Station& p2) override;
};

/// The location in degrees and decimal minutes, longitude first.
class output_gps : public output_base {
 public:
  output_gps(std::ostream& o_, std::string& separator_);
  void valid(Station& loc, Station& p1, Station& p2) override;
  void invalid(Station& loc, Station& p1, Station& p2) override;
};

/// A JSON array of arc and line objects for a map display.
class output_json : public output_base {
 public:
  output_json(std::ostream& o_, std::string& separator_);
  void prolog() override;
  void epilog() override;
  void valid(Station& loc, Station& p1, Station& p2) override;
  void invalid(Station& loc, Station& p1, Station& p2) override;

 private:
  /// Writes the ",\n" that goes before every result but the first.
  void next_result();
  bool first_arc;
};
