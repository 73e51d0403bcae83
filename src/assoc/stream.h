// Association of detections that come in order of time, day by day (a
// block): the work keeps a window of a few days, so that its memory does
// not grow with the length of the input, and runs the days on `jobs`
// threads, with results that do not depend on their number.
//
// Each block: the clutter density of its arrivals once the next block is
// in (it is measured over the block and its neighbours); candidates seeded
// by the pairs whose earlier arrival lies in it once the clutter is known
// two blocks ahead (a candidate reaches that far); the choice among the
// candidates that begin in it or within an event's span of it, once its
// neighbours' candidates are in (so that it sees what competes across its
// edges), keeping the events whose first arrival lies in it; at the edge
// with the block before, a detection that both sides' events hold goes to
// the better event, and the other is refitted and confirmed again without
// it. An event's arrivals span less than half a block, so no event meets
// both edges of its block and the edges can be settled one after the
// other in any order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <vector>

#include "assoc/associate.h"
#include "assoc/catalogue.h"
#include "assoc/select.h"

namespace assoc {

class Stream {
 public:
  explicit Stream(const Options& options);
  ~Stream();

  /// Length of a block, s: whole days, at least twice the longest time
  /// from an origin to an arrival.
  double block_s() const { return block_; }

  /// Adds a detection with a time; `input` is the caller's number for it.
  /// Detections come in order of time, but for those of one block, which
  /// may come in any order. `ln_clutter`: its clutter density when known
  /// (NaN: measured here). Throws std::invalid_argument for a detection of
  /// a block finished already, or with a value that is not a finite number
  /// (or a time beyond the year 3000).
  void add(const fix::Detection& detection, std::size_t input,
           double ln_clutter = std::numeric_limits<double>::quiet_NaN());
  /// Ends the input: every block is finished.
  void finish();
  /// The events finished since the last call, block by block.
  std::vector<Event> take();

  /// When set, receives the clutter density of every arrival measured, at
  /// the index of its caller's number (grown as needed).
  void record_clutter(std::vector<double>* out) { clutter_out_ = out; }

 private:
  struct Block {
    bool measured = false, seeded = false, selected = false;
    std::vector<Candidate> candidates;
    std::vector<Found> owned;
  };
  using Index = std::int64_t;

  double start(Index k) const { return static_cast<double>(k) * block_; }
  Block& block(Index k) { return blocks_[k]; }
  void close_block();
  void advance(bool final);
  void run(std::vector<Index> ks, bool seed);
  void settle_edge(Index k);
  void emit(Index k);

  const Options& o_;
  std::unique_ptr<Model> model_;
  double block_;
  unsigned jobs_;
  std::vector<std::unique_ptr<fix::Locator>> locators_;
  Catalogue c_;
  // The block being filled and its detections.
  Index filling_ = std::numeric_limits<Index>::min();
  std::vector<fix::Detection> pending_;
  std::vector<std::size_t> pending_input_;
  std::vector<double> pending_clutter_;
  double first_time_ = std::numeric_limits<double>::quiet_NaN();
  double last_time_ = std::numeric_limits<double>::quiet_NaN();
  // Blocks from `first_` on: up to `complete_` all in, then measured,
  // seeded, selected and emitted up to the next ones.
  Index first_ = 0, complete_ = 0, measured_ = 0, seeded_ = 0,
        selected_ = 0, emitted_ = 0;
  bool started_ = false;
  std::map<Index, Block> blocks_;
  std::vector<Event> out_;
  std::vector<double>* clutter_out_ = nullptr;
};

}  // namespace assoc
