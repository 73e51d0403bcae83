#include "cli/command_line.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <system_error>
#include <thread>

#include "version.h"

namespace cli {

namespace {

constexpr std::size_t shown_bytes = 64;

// Shortest text of a range bound: "90", "0.001", "1e+06".
std::string bound(double v) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, r.ptr);
}

// Whether the number `digits` (as from_chars found it out of range) is
// too large rather than too small: the decimal exponent of its first
// significant digit is positive.
bool overflows(std::string_view digits) {
  long long magnitude = 0;
  bool seen_point = false, significant = false;
  std::size_t i = 0;
  for (; i < digits.size() && digits[i] != 'e' && digits[i] != 'E'; ++i) {
    const char c = digits[i];
    if (c == '.') {
      seen_point = true;
    } else if (!significant && c == '0') {
      if (seen_point) --magnitude;
    } else {
      if (!significant && seen_point) --magnitude;
      significant = true;
      if (!seen_point) ++magnitude;
    }
  }
  long long exponent = 0;
  if (i < digits.size()) {
    std::string_view e = digits.substr(i + 1);
    if (!e.empty() && e[0] == '+') e.remove_prefix(1);
    const auto r = std::from_chars(e.data(), e.data() + e.size(), exponent);
    if (r.ec == std::errc::result_out_of_range) return e[0] != '-';
  }
  return magnitude + exponent > 0;
}

}  // namespace

std::string quote(std::string_view text) {
  if (text.size() <= shown_bytes) return "\"" + std::string(text) + "\"";
  std::size_t cut = shown_bytes;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
    --cut;
  return "\"" + std::string(text.substr(0, cut)) + "\"... (" +
         std::to_string(text.size()) + " bytes)";
}

bool Range::contains(double v) const {
  return (lo_open ? v > lo : v >= lo) && (hi_open ? v < hi : v <= hi);
}

std::string Range::text() const {
  return (lo_open ? "(" : "[") + bound(lo) + ", " + bound(hi) +
         (hi_open ? ")" : "]");
}

std::string read_number(std::string_view text, double& value) {
  std::string_view digits = text;
  // from_chars takes no "+" of its own.
  if (!digits.empty() && digits[0] == '+') {
    digits.remove_prefix(1);
    if (!digits.empty() && (digits[0] == '+' || digits[0] == '-'))
      return quote(text) + " is not a number";
  }
  double v = 0.0;
  const char* end = digits.data() + digits.size();
  const auto r = std::from_chars(digits.data(), end, v);
  if (r.ptr != end || r.ec == std::errc::invalid_argument)
    return quote(text) + " is not a number";
  if (r.ec == std::errc::result_out_of_range) {
    const bool negative = !digits.empty() && digits[0] == '-';
    if (overflows(negative ? digits.substr(1) : digits))
      return quote(text) + " is out of range";
    v = negative ? -0.0 : 0.0;
  }
  if (!std::isfinite(v)) return quote(text) + " is not a finite number";
  value = v;
  return "";
}

std::string read_number(std::string_view text, const Range& range,
                        double& value) {
  double v = 0.0;
  std::string problem = read_number(text, v);
  if (!problem.empty()) return problem;
  if (!range.contains(v)) return quote(text) + " is outside " + range.text();
  value = v;
  return "";
}

std::string read_integer(std::string_view text, long long lo, long long hi,
                         long long& value) {
  std::string_view digits = text;
  if (!digits.empty() && digits[0] == '+') {
    digits.remove_prefix(1);
    if (!digits.empty() && (digits[0] == '+' || digits[0] == '-'))
      return quote(text) + " is not a number";
  }
  long long v = 0;
  const char* end = digits.data() + digits.size();
  const auto r = std::from_chars(digits.data(), end, v);
  if (r.ec == std::errc::invalid_argument)
    return quote(text) + " is not a number";
  if (r.ptr != end) {
    double ignored = 0.0;
    return read_number(text, ignored).empty()
               ? quote(text) + " is not a whole number"
               : quote(text) + " is not a number";
  }
  if (r.ec == std::errc::result_out_of_range || v < lo || v > hi)
    return quote(text) + " is outside [" + std::to_string(lo) + ", " +
           std::to_string(hi) + "]";
  value = v;
  return "";
}

void Diagnostics::error(const std::string& where, const std::string& what) {
  err_ << program_ << ": " << where << ": " << what << '\n';
  ++errors_;
}

void Diagnostics::error(const std::string& what) {
  err_ << program_ << ": " << what << '\n';
  ++errors_;
}

void Diagnostics::note(const std::string& what) {
  err_ << program_ << ": " << what << '\n';
}

std::string version_line(const std::string& program) {
  return program + " (" + shortVersion + ")\n";
}

bool finish_output(std::ostream& out, Diagnostics& diagnostics) {
  // A write that failed earlier left its reason in errno: the run stops
  // right after a failed write, so nothing has changed it since.
  if (out) {
    errno = 0;
    out.flush();
    if (out) return true;
  }
  const int error = errno;
  diagnostics.error(std::string("cannot write the output") +
                    (error ? std::string(": ") + std::strerror(error) : ""));
  return false;
}

std::string read_options(
    OptionReader& reader, bool& help, bool& version,
    const std::function<std::string(int code, const std::string& value)>&
        read_value) {
  for (int code; (code = reader.next()) != -1;) {
    if (code == '?') return reader.message();
    if (code == 'h') {
      help = true;
    } else if (code == kVersion) {
      version = true;
    } else {
      const std::string problem = read_value(code, reader.value());
      if (!problem.empty()) return reader.bad_value(problem);
    }
  }
  return "";
}

int refuse_command_line(const std::string& program, const std::string& message,
                        std::ostream& err) {
  err << program << ": " << message << "\nTry '" << program << " --help'.\n";
  return 1;
}

unsigned worker_count(unsigned jobs) {
  return jobs ? jobs : std::max(1u, std::thread::hardware_concurrency());
}

std::string read_jobs(std::string_view text, unsigned& jobs) {
  long long v = 0;
  std::string problem = read_integer(text, 1, 1024, v);
  if (problem.empty()) jobs = static_cast<unsigned>(v);
  return problem;
}

// ---------------------------------------------------------------------------

OptionReader::OptionReader(std::string program,
                           const std::vector<std::string>& args,
                           const char* short_options,
                           const option* long_options)
    : program_(std::move(program)),
      short_options_(std::string(":") + short_options),
      long_options_(long_options) {
  storage_.reserve(args.size() + 1);
  storage_.push_back(program_);
  storage_.insert(storage_.end(), args.begin(), args.end());
  for (std::string& s : storage_) argv_.push_back(s.data());
  argv_.push_back(nullptr);
  optind = 0;  // a full start of the option reader
  opterr = 0;  // its complaints are ours
}

int OptionReader::next() {
  if (done_) return -1;
  const int argc = static_cast<int>(argv_.size() - 1);
  int index = -1;
  optopt = 0;
  const int code = getopt_long(argc, argv_.data(), short_options_.c_str(),
                               long_options_, &index);
  value_ = optarg ? optarg : "";
  if (code == -1) {
    done_ = true;
    for (int i = optind; i < argc; ++i) operands_.emplace_back(argv_[i]);
    return -1;
  }
  if (code == '?' || code == ':') {
    message_ = refusal(code);
    return '?';
  }
  if (index >= 0)
    name_ = std::string("--") + long_options_[index].name;
  else
    name_ = std::string("-") + static_cast<char>(code);
  return code;
}

// What was wrong with the option getopt_long refused.
std::string OptionReader::refusal(int code) const {
  const std::string arg = optind > 0 ? argv_[optind - 1] : "";
  const bool is_long = arg.rfind("--", 0) == 0;
  auto long_name_of = [&](int val) -> std::string {
    for (const option* o = long_options_; o->name; ++o)
      if (o->val == val) return std::string("--") + o->name;
    return "";
  };
  if (code == ':') {
    // A missing value: optopt is the option's code.
    std::string name = is_long ? long_name_of(optopt) : "";
    if (name.empty()) name = std::string("-") + static_cast<char>(optopt);
    return "option " + name + " needs a value";
  }
  if (!is_long || optopt != 0) {
    if (is_long) {
      const std::string name = long_name_of(optopt);
      return "option " + (name.empty() ? quote(arg) : name) +
             " takes no value";
    }
    return "unknown option " +
           quote(std::string("-") + static_cast<char>(optopt));
  }
  // An unknown or ambiguous long option.
  const std::string typed = arg.substr(2, arg.find('=') - 2);
  std::string candidates;
  for (const option* o = long_options_; o->name; ++o)
    if (std::string_view(o->name).substr(0, typed.size()) == typed)
      candidates += std::string(candidates.empty() ? "" : ", ") + "--" + o->name;
  if (candidates.find(',') != std::string::npos)
    return "option " + quote("--" + typed) + " is ambiguous (" + candidates +
           ")";
  return "unknown option " + quote(arg.substr(0, arg.find('=')));
}

}  // namespace cli
