// Front end: the run sequence, the command line and the checked search over
// perturbed bearings.
#pragma once

#include <cstddef>
#include <getopt.h>
#include <string>
#include <vector>

#include <gsl/span>

#include "class_location.h"

// Process-wide settings, written only while the options are read.
extern int debug;                     ///< debug traces on when nonzero
extern int do_log;                    ///< run-log entry when nonzero
extern int show_allstations;          ///< help text lists the catalog options
extern int use_norsar;                ///< back-azimuth method when nonzero
extern double acceptable_deviation;   ///< tolerance of the check, degrees
extern double default_sbaz;           ///< azimuth standard deviation, degrees
extern double sonic;                  ///< speed of sound, metres per second
extern std::vector<Station> new_stations;  ///< the sources, in command-line order

/// A location method: writes the crossing point of the bearings of s1 and s2
/// into loc and returns 0, or returns non-zero when it found none.
using location_method = int (*)(const Station& s1, const Station& s2,
                                Station& loc);
extern location_method calculate_location;

/// The number of options in the table before the catalog options.
inline constexpr std::size_t fixed_option_count = 42;
/// The option table: the fixed options, one option per catalog entry (in
/// catalog order, named by its key), and the all-zero terminator.
extern const option long_options[fixed_option_count + station_count + 1];
/// The short options.
extern const char short_options[];

/// The whole run; returns the exit status of a completed run. Refused input
/// ends the process with status 1.
int vestra_main(int argc, char** argv);

/// Ends the process with `status` (refused input: 1; the station listing: 0)
/// through `vestra_exit_handler`.
[[noreturn]] void vestra_exit(int status);
/// What vestra_exit calls: std::exit. An in-process harness may install a
/// handler that throws instead, to observe the exit; it must not return.
extern void (*vestra_exit_handler)(int);
/// Puts the process-wide settings and the source list back to their
/// start-up values.
void reset_settings();

/// The program name from the first argument: lower-cased, without
/// directories and extension. An empty argument vector is refused.
std::string program_name(gsl::span<char*> args);
/// Whether the program name selects the back-azimuth method.
bool norsar(const std::string& progname);
/// Rotates the letters a-m/n-z (and A-M/N-Z) by 13 places in place.
void rot13(std::string& s);

/// Appends the catalog source `station` with the azimuth[:sd] `argument`.
void get_station_azimuth(const std::string& station,
                         const std::string& argument);
/// Appends the ad-hoc source name:latitude:longitude:azimuth[:sd].
void new_station(const std::string& value);

/// Reads the leading number of `text` (see the table in vestra.cpp); refuses
/// a value that is not one with a message naming `what`, status 1.
double read_double(const std::string& text, const std::string& what,
                   std::size_t* consumed = nullptr);
/// Reads the leading decimal integer of `text`; refuses as read_double does.
/// `overflow` is set when the number does not fit a long.
long read_long(const std::string& text, const std::string& what,
               bool* overflow);

class output_base;
/// Crosses every pair of `new_stations` in command-line order (A-B, A-C,
/// B-C, ...) and hands each result to the writer's valid or invalid.
void cross_pairs(output_base& output);

/// Writes the help text to the standard output.
void usage(const char* arg);
void deprecated_xxx();
bool is_xxx(const Station& st);
bool validate(double val, double min, double max);

/// The offset of the bearings for search index `index` (0..38), degrees.
double fuzz_offset(std::size_t index);
/// Searches the offset indices [start, stop) for a confirmed crossing; true
/// when this pair's search is finished. A non-null `located` is set true
/// when a trial's method run produced a location (it is never set false).
bool test_angle_fuzz(std::size_t start, std::size_t stop, Station& s1,
                     Station& s2, Station& loc, bool& flag1, bool& flag2,
                     bool* located = nullptr);
/// Whether the azimuths from s1 and s2 to loc agree with their `baz`.
bool check_az(Station& s1, Station& s2, Station& loc, bool& flag1,
              bool& flag2);
