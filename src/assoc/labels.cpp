#include "assoc/labels.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>

#include "assoc/stream.h"
#include "fix/iso_time.h"

namespace assoc {

namespace {

constexpr double never = std::numeric_limits<double>::infinity();

// Whether item `a` is written before item `b`: by time (those without one
// last), then by everything else that tells detections apart.
bool before(const Item& a, const Item& b) {
  const fix::Detection &x = a.detection, &y = b.detection;
  if (x.has_time != y.has_time) return x.has_time;
  if (x.has_time && x.time != y.time) return x.time < y.time;
  return std::tie(x.station, x.latitude, x.longitude, x.back_azimuth,
                  x.sigma, a.text) < std::tie(y.station, y.latitude,
                                              y.longitude, y.back_azimuth,
                                              y.sigma, b.text);
}

double time_of(const Item& item) {
  return item.detection.has_time ? item.detection.time : never;
}

// An event to write: its items in order, its first arrival (infinite when
// none has a time) and its label.
struct Group {
  std::vector<std::size_t> items;
  double first = never;
  double origin = never;  // of an event found
  std::string label;
};

// The events found among the items without one, their items in order;
// of a slice, the items without one farther than the margin from it take
// no part.
std::vector<Group> found_groups(const std::vector<Item>& items,
                                const Options& options, const Slice& slice,
                                Result& result) {
  const Slice read = reach(slice, options);
  std::vector<std::size_t> free;
  std::vector<fix::Detection> detections;
  for (std::size_t i = 0; i < items.size(); ++i)
    if (items[i].event.empty() &&
        (!items[i].detection.has_time || read.owns(items[i].detection.time))) {
      free.push_back(i);
      detections.push_back(items[i].detection);
    }
  result = associate(detections, options);
  std::vector<Group> groups;
  for (Event& e : result.events) {
    for (std::size_t& d : e.detections) d = free[d];
    Group g;
    g.items = e.detections;
    std::sort(g.items.begin(), g.items.end(), [&](auto a, auto b) {
      return before(items[a], items[b]);
    });
    g.first = time_of(items[g.items.front()]);
    g.origin = e.solution.has_origin ? e.solution.origin_time : g.first;
    groups.push_back(std::move(g));
  }
  return groups;
}

// Names the events found after their origin times, the second and later of
// one name (in order of first arrival, then of first item) with "-2",
// "-3"..., never a name that `taken` holds already.
void name_groups(std::vector<Group>& groups, const std::vector<Item>& items,
                 std::set<std::string> taken) {
  for (Group& g : groups) g.label = time_label(g.origin);
  std::vector<Group*> order;
  for (Group& g : groups) order.push_back(&g);
  std::sort(order.begin(), order.end(), [&](const Group* a, const Group* b) {
    if (a->label != b->label) return a->label < b->label;
    if (a->first != b->first) return a->first < b->first;
    return before(items[a->items.front()], items[b->items.front()]);
  });
  for (Group* g : order) {
    const std::string base = g->label;
    for (int n = 2; taken.count(g->label); ++n)
      g->label = base + "-" + std::to_string(n);
    taken.insert(g->label);
  }
}

}  // namespace

// Three of the association's blocks (stream.h) cover what decides the
// events of a block: its neighbours' clutter and candidates, and theirs.
Slice reach(const Slice& slice, const Options& options) {
  if (slice.from == -never && slice.to == never) return slice;
  Options one = options;
  one.jobs = 1;
  const double margin = 3.0 * Stream(one).block_s();
  return {slice.from - margin, slice.to + margin};
}

std::string time_label(double seconds) {
  std::string label = fix::format_iso_time(std::floor(seconds), 0, 0);
  std::erase_if(label,
                [](char c) { return c == '-' || c == ':' || c == 'Z'; });
  return label;
}

Labelled label_events(const std::vector<Item>& items, const Options& options,
                      const Slice& slice) {
  Labelled out;
  std::vector<Group> groups = found_groups(items, options, slice, out.result);
  std::map<std::string, Group> given;
  for (std::size_t i = 0; i < items.size(); ++i)
    if (!items[i].event.empty()) given[items[i].event].items.push_back(i);
  std::set<std::string> taken;
  for (const auto& [label, g] : given) taken.insert(label);
  name_groups(groups, items, std::move(taken));
  for (auto& [label, g] : given) {
    std::sort(g.items.begin(), g.items.end(), [&](auto a, auto b) {
      return before(items[a], items[b]);
    });
    g.first = time_of(items[g.items.front()]);
    g.label = label;
    groups.push_back(std::move(g));
  }
  std::sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) {
    return std::tie(a.first, a.label) < std::tie(b.first, b.label);
  });

  auto owned = [&](double time) {
    return time == never ? slice.to == never : slice.owns(time);
  };
  out.labels.assign(items.size(), "");
  std::vector<char> in_event(items.size(), 0);
  for (const Group& g : groups) {
    for (std::size_t i : g.items) in_event[i] = 1;
    if (!owned(g.first)) continue;
    for (std::size_t i : g.items) out.labels[i] = g.label;
    out.events.push_back(g.items);
  }
  for (std::size_t i = 0; i < items.size(); ++i)
    if (!in_event[i] && owned(time_of(items[i])))
      out.unassociated.push_back(i);
  std::sort(out.unassociated.begin(), out.unassociated.end(),
            [&](auto a, auto b) { return before(items[a], items[b]); });
  return out;
}

}  // namespace assoc
