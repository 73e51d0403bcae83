// Result writers.

#include "output.h"

#include <iostream>
#include <memory>

#include "distance.h"

/// Speed of sound in air, metres per second.
extern double sonic;

output_normal::output_normal(std::ostream& o_, std::string& separator_)
    : output_base(o_, separator_) {
  DEBUG_TRACE("normal\n");
}

void output_normal::valid(Station& loc, Station& p1, Station& p2) {
  p1.set_output(Station::OUTPUT_LONG_LAT, ",");
  p2.set_output(Station::OUTPUT_LONG_LAT, ",");
  loc.set_output(Station::OUTPUT_LONG_LAT, ",");
  o << "arc=" << p1 << "," << loc << separator;
  o << "arc=" << p2 << "," << loc << separator;
}

void output_normal::invalid(Station&, Station& p1, Station& p2) {
  p1.set_output(Station::OUTPUT_LONG_LAT, ",");
  p2.set_output(Station::OUTPUT_LONG_LAT, ",");
  o << "line=" << p1 << "," << p1.baz << "," << 120000 << "\n";
  o << "line=" << p2 << "," << p2.baz << "," << 120000 << "\n";
}

output_clean::output_clean(std::ostream& o_, std::string& separator_)
    : output_base(o_, separator_) {
  DEBUG_TRACE("clean\n");
}

void output_clean::valid(Station& loc, Station& p1, Station& p2) {
  loc.set_output(Station::OUTPUT_LONG_LAT, " ");
  o << loc;
  double t1 = std::unique_ptr<distance>(calculate_distance(loc, p1))
                  ->distance_in_meters / sonic;
  o << " " << t1;
  double t2 = std::unique_ptr<distance>(calculate_distance(loc, p2))
                  ->distance_in_meters / sonic;
  o << " " << t2 << "\n";
}

void output_clean::invalid(Station&, Station&, Station&) {
  o << "-1000 -1000 0 0\n";
}

output_gps::output_gps(std::ostream& o_, std::string& separator_)
    : output_base(o_, separator_) {
  DEBUG_TRACE("gps\n");
}

void output_gps::valid(Station& loc, Station&, Station&) {
  loc.set_output(Station::OUTPUT_DM_LONG_LAT, ",");
  o << loc << "\n";
}

void output_gps::invalid(Station&, Station&, Station&) {
  o << "N00 00.000 E00 00.000\n";
}

output_json::output_json(std::ostream& o_, std::string& separator_)
    : output_base(o_, separator_), first_arc(true) {
  DEBUG_TRACE("json\n");
}

void output_json::prolog() { o << "["; }

void output_json::epilog() { o << "]\n"; }

void output_json::next_result() {
  // The separator goes to the process's standard output; the run always
  // builds the writer on it, so it lands between the results.
  if (!first_arc) std::cout << ",\n";
  first_arc = false;
}

void output_json::valid(Station& loc, Station& p1, Station& p2) {
  next_result();
  o << "{\"arc\": { \"start\": {\"longitude\":" << p1.get_longitude()
    << ",\"latitude\":" << p1.get_latitude()
    << "}, \"end\": {\"longitude\":" << loc.get_longitude()
    << ",\"latitude\":" << loc.get_latitude() << "}}},\n";
  o << "{\"arc\": { \"start\": {\"longitude\":" << p2.get_longitude()
    << ",\"latitude\":" << p2.get_latitude()
    << "}, \"end\": {\"longitude\":" << loc.get_longitude()
    << ",\"latitude\":" << loc.get_latitude() << "}}}";
}

void output_json::invalid(Station&, Station& p1, Station& p2) {
  next_result();
  o << "{\"line\": { \"start\": {\"longitude\":" << p1.get_longitude()
    << ",\"latitude\":" << p1.get_latitude() << "}, \"dir\": " << p1.baz
    << ", \"length\":" << 65000 << "}},\n";
  o << "{\"line\": { \"start\": {\"longitude\":" << p2.get_longitude()
    << ",\"latitude\":" << p2.get_latitude() << "}, \"dir\": " << p2.baz
    << ", \"length\":" << 65000 << "}}";
}
