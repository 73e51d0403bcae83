#include "assoc/program.h"

#include <iomanip>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "assoc/labels.h"
#include "assoc/options.h"
#include "assoc/output.h"
#include "cli/command_line.h"
#include "cli/output_file.h"
#include "fix/inputs.h"

namespace assoc {

namespace {

const std::string program = "vestra-assoc";

/// The arrival times the association takes: from the year 1000 to the end
/// of 2899, s since 1970.
constexpr double earliest_s = -30610224000.0, latest_s = 29379542400.0;
constexpr double reach_end = std::numeric_limits<double>::infinity();

// The detections of a run as read, those refused left out (reported).
struct Input {
  std::vector<Item> items;
  std::vector<fix::RawElement> raw;  // per item; empty text for text input
};

Input read_input(const CommandLine& c, std::istream& in,
                 cli::Diagnostics& diagnostics, const std::string& in_name) {
  Input input;
  fix::DetectionReader reader(c.files, in, diagnostics, {.keep_raw = true},
                              in_name);
  // A slice holds only the detections it may need, so that its memory
  // follows its own length, not the input's.
  const Slice reach = assoc::reach(c.slice, c.options);
  for (fix::DetectionRecord r; reader.next(r);) {
    if (!r.usable) continue;
    const fix::Detection& d = r.detection;
    if (d.has_time && !(earliest_s <= d.time && d.time < latest_s)) {
      diagnostics.error(reader.where(r),
                        "arrival time outside the years 1000 to 2899");
      continue;
    }
    if (r.event.empty() && (d.has_time ? !reach.owns(d.time)
                                       : reach.to != reach_end))
      continue;
    input.items.push_back({d, r.event, r.raw.text});
    input.raw.push_back(std::move(r.raw));
  }
  return input;
}

// The detections `indices` of the input as `format` writes them, each with
// its label.
void write_detections(const Input& input, const std::vector<std::size_t>& indices,
                      const std::vector<std::string>& labels,
                      OutputFormat format, std::string& out) {
  for (std::size_t i : indices) {
    const fix::Detection& d = input.items[i].detection;
    if (format == OutputFormat::text) {
      out += text_detection(d, labels[i]);
      out += '\n';
      continue;
    }
    out += out.size() > 2 ? ",\n" : "";
    out += json_detection(d, &input.raw[i], labels[i]);
  }
}

// The whole of an output: the detections of `events`, one after the other.
std::string render(const Input& input,
                   const std::vector<std::vector<std::size_t>>& events,
                   const std::vector<std::string>& labels, OutputFormat format) {
  std::string out = format == OutputFormat::json ? "[\n" : "";
  for (const auto& e : events) write_detections(input, e, labels, format, out);
  if (format == OutputFormat::json) out += out.size() > 2 ? "\n]\n" : "]\n";
  return out;
}

void write_unassociated(const std::string& file, const std::string& text,
                        cli::Diagnostics& diagnostics) {
  const std::string reason = cli::replace_file(
      file, [&](int fd) { return cli::write_all(fd, text); });
  if (!reason.empty())
    diagnostics.error("cannot write " + cli::quote(file) + ": " + reason);
}

// With shifted copies: how many of the events clutter alone would make.
void report_false_events(const Labelled& labelled,
                         cli::Diagnostics& diagnostics) {
  const Result& r = labelled.result;
  std::ostringstream s;
  s << r.events.size() << " events found at a score of at least "
    << r.threshold << "; expected false events among them: "
    << std::setprecision(3) << r.expected_false(r.threshold) << " (from "
    << r.copies << " shifted copies)";
  diagnostics.note(s.str());
}

}  // namespace

Written run(const CommandLine& c, std::istream& in,
            cli::Diagnostics& diagnostics, bool unassociated,
            const std::string& in_name) {
  Options options = c.options;
  options.jobs = cli::worker_count(options.jobs);
  const Input input = read_input(c, in, diagnostics, in_name);
  Labelled labelled;
  try {
    labelled = label_events(input.items, options, c.slice);
  } catch (const std::invalid_argument& e) {
    diagnostics.error(e.what());
    return {};
  }
  Written w;
  w.events = render(input, labelled.events, labelled.labels, c.format);
  if (unassociated) {
    const std::vector<std::string> none(input.items.size());
    w.unassociated = render(input, {labelled.unassociated}, none, c.format);
  }
  if (options.copies > 0) report_false_events(labelled, diagnostics);
  w.complete = true;
  return w;
}

int assoc_main(const std::vector<std::string>& args, std::istream& in,
               std::ostream& out, std::ostream& err) {
  CommandLine c;
  const std::string refused = parse_command_line(args, c);
  if (!refused.empty()) return cli::refuse_command_line(program, refused, err);
  cli::Diagnostics diagnostics(program, err);
  if (c.help || c.version) {
    out << (c.help ? usage() : cli::version_line(program));
    return cli::finish_output(out, diagnostics) ? 0 : 1;
  }
  const Written w = run(c, in, diagnostics, !c.unassociated.empty());
  if (!w.complete) return 1;
  out << w.events;
  if (!c.unassociated.empty())
    write_unassociated(c.unassociated, w.unassociated, diagnostics);
  if (!cli::finish_output(out, diagnostics)) return 1;
  return diagnostics.errors() ? 1 : 0;
}

}  // namespace assoc
