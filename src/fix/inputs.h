// The inputs of a run, read as one input: the files named on the command
// line one after the other, or standard input.
#pragma once

#include <cstddef>
#include <fstream>
#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "fix/reader.h"

namespace fix {

/// Every detection of a run's inputs, in input order: the files named
/// ("-" for standard input; standard input when none is). A file that
/// cannot be opened or read is reported; the others are still read.
class DetectionReader {
 public:
  DetectionReader(const std::vector<std::string>& files,
                  std::istream& standard_input, Diagnostics& diagnostics,
                  const ReadOptions& options = {});

  /// The next detection, usable or refused (refusals are reported as they
  /// are read), into `record`; false after the last input.
  bool next(DetectionRecord& record);

  /// The name of input `index` in messages: its file name, "<stdin>" for
  /// standard input.
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
/// continues from an input of one format into one of the other.
class InputChain final : public EventReader {
 public:
  InputChain(const std::vector<std::string>& files, std::istream& in,
             Diagnostics& diagnostics)
      : reader_(files, in, diagnostics), diag_(diagnostics) {}

  bool next(Event& event) override;

 private:
  // Detections that name no event, counted for the warning.
  struct Unassociated {
    std::size_t detections = 0, inputs = 0, last_input = 0;
    void add(const DetectionRecord& r);
    void warn(Diagnostics& diagnostics) const;
  };

  bool pull();
  void read_json_run();
  bool finish_text(Event& event);

  DetectionReader reader_;
  Diagnostics& diag_;
  DetectionRecord record_;
  bool keep_ = false;  // record_ is read and not yet taken
  bool have_text_ = false;
  Event text_;  // the text event being read
  Unassociated text_unassociated_;
  std::vector<Event> json_events_;
  std::size_t json_next_ = 0;
};

}  // namespace fix
