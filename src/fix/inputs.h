// The inputs of a run, read as one input: the files named on the command
// line one after the other, or standard input.
#pragma once

#include <cstddef>
#include <deque>
#include <fstream>
#include <istream>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "fix/reader.h"

namespace fix {

/// Every detection of a run's inputs, in input order: the files named
/// ("-" for standard input; standard input when none is). A file that
/// cannot be opened or read is reported; the others are still read.
class DetectionReader {
 public:
  /// `standard_input_name` names standard input in messages.
  DetectionReader(const std::vector<std::string>& files,
                  std::istream& standard_input, Diagnostics& diagnostics,
                  const ReadOptions& options = {},
                  const std::string& standard_input_name = "<stdin>");

  /// The next detection, usable or refused (refusals are reported as they
  /// are read), into `record`; false after the last input.
  bool next(DetectionRecord& record);

  /// The name of input `index` in messages: its file name, "<stdin>" (or
  /// the name given) for standard input.
  const std::string& input_name(std::size_t index) const {
    return names_[index];
  }
  /// Where `record` was read, as messages say it: "NAME:LINE" for text,
  /// "NAME: [INDEX]" for detection JSON.
  std::string where(const DetectionRecord& record) const;

 private:
  std::vector<std::string> files_, names_;
  std::istream& in_;
  Diagnostics& diag_;
  ReadOptions options_;
  std::size_t index_ = 0;
  std::unique_ptr<std::ifstream> file_;
  std::unique_ptr<InputReader> reader_;
};

/// The events of a run's inputs, in input order. In text, consecutive
/// lines of the same event form one event, across the end of a file too. In
/// detection JSON, the detections with the same "Event" in the consecutive
/// JSON inputs form one event, written in the order of its first detection.
/// Detections that name no event form one unnamed event likewise; when it
/// gathers detections of several inputs, a warning says so. An event never
/// continues from an input of one format into one of the other. With
/// `threads` above 1, detection JSON is parsed on a thread of its own while
/// the detections before are gathered.
class InputChain final : public EventReader {
 public:
  InputChain(const std::vector<std::string>& files, std::istream& in,
             Diagnostics& diagnostics, unsigned threads = 1,
             const std::string& standard_input_name = "<stdin>")
      : reader_(files, in, diagnostics, {}, standard_input_name),
        diag_(diagnostics), threads_(threads) {}

  bool next(Event& event) override;

 private:
  // Detections that name no event, counted for the warning.
  struct Unassociated {
    std::size_t detections = 0, inputs = 0, last_input = 0;
    void add(const DetectionRecord& r);
    void warn(Diagnostics& diagnostics) const;
  };

  // The detections of a run of JSON inputs, in input order, each event's
  // linked from its first to its last; the events are made up one at a
  // time as they are taken, while the ones before are located.
  struct JsonRun {
    static constexpr std::size_t none = -1;
    struct Head {
      std::string name;
      std::size_t first = none, last = none, count = 0, refused = 0;
    };
    std::deque<Detection> detections;  // no copies as it grows
    std::vector<std::size_t> next;  // the event's next detection, or none
    std::vector<Head> events;       // in order of first appearance
    std::size_t taken = 0;          // events taken
    std::unordered_map<std::string, std::size_t> index;  // of `events`
    std::size_t last = 0;  // the event of the record before, most often
    Unassociated unassociated;
    void add(DetectionRecord& r);
    void take(Event& event);
  };

  bool pull();
  bool pull_json();
  void read_json_run();
  void read_json_ahead();
  bool finish_text(Event& event);

  DetectionReader reader_;
  Diagnostics& diag_;
  unsigned threads_;
  DetectionRecord record_;
  bool keep_ = false;  // record_ is read and not yet taken
  bool have_text_ = false;
  Event text_;  // the text event being read
  Unassociated text_unassociated_;
  JsonRun json_;
};

}  // namespace fix
