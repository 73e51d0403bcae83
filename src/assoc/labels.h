// The events of a run as vestra-assoc writes them: each named by a label
// made from its origin time, in an order that depends neither on the order
// of the input nor on the number of jobs, and, for a run over one slice of
// a longer input, only the events that slice owns.
//
// Units: seconds since 1970 (UTC).
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "assoc/associate.h"
#include "fix/event.h"

namespace assoc {

/// One detection to associate, as read.
struct Item {
  fix::Detection detection;
  /// The event it came with; "": not associated yet. Detections that come
  /// with an event keep it and take no part in the association.
  std::string event;
  /// Its text as read (a JSON element, say): the last key of the order in
  /// which detections are written, after time, station, place and bearing.
  std::string text;
};

/// The part of a longer input that a run writes: the events whose first
/// arrival lies in [from, to), and the detections of no event whose arrival
/// time does. Detections without a time belong to the slice that reaches
/// to the end (`to` infinite). Of the detections without an event, only
/// those within three days of the slice (three of the association's blocks,
/// Stream::block_s) are associated, which is enough for the slice's events
/// to be those of a run over the whole input.
struct Slice {
  double from = -std::numeric_limits<double>::infinity();  ///< s
  double to = std::numeric_limits<double>::infinity();     ///< s
  bool owns(double time) const { return from <= time && time < to; }
};

/// The times of the detections without an event that a run over `slice`
/// associates: the slice and three blocks on either side (everything for a
/// run over the whole input). Detections outside it, and those without a
/// time unless the slice reaches to the end, do not change what the run
/// writes: a reader may leave them out.
Slice reach(const Slice& slice, const Options& options);

/// The events and the rest of a run, by index into its items.
struct Labelled {
  /// Per item: the label of the event it is written with; "" for none.
  std::vector<std::string> labels;
  /// The items of each event written, the events in order of their first
  /// arrival (then label), the items of each in the order of writing
  /// (arrival time, station, place, bearing, standard deviation, text).
  std::vector<std::vector<std::size_t>> events;
  /// The items of no event, in the same order; those without a time last.
  std::vector<std::size_t> unassociated;
  /// The association of the items that came without an event (indices
  /// into `items`, every event of the run, also those outside the slice).
  Result result;
};

/// Associates the items that came without an event and labels the events:
/// an event found is named after its origin time, "YYYYMMDDThhmmss" (UTC,
/// the second truncated), with "-2", "-3"... for the second and later of
/// the same name (in order of first arrival, then of their first item); the
/// items that came with an event form that event, under its name. Throws
/// as associate() does.
Labelled label_events(const std::vector<Item>& items, const Options& options,
                      const Slice& slice = {});

/// "YYYYMMDDThhmmss": the label of an origin time of `seconds` since 1970.
std::string time_label(double seconds);

}  // namespace assoc
