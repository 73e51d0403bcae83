#include "fix/run.h"

#include <charconv>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "GFC.h"
#include "fix/locate.h"
#include "version.h"

namespace fix {

namespace {

/// Events handed to a worker at a time.
constexpr std::size_t chunk_events = 64;
/// Chunks read ahead per worker: bounds the memory of a run.
constexpr std::size_t chunks_per_job = 4;

// A number option's value: the whole text must be a finite number.
bool parse_number(const std::string& text, double& value) {
  const auto r = std::from_chars(text.data(), text.data() + text.size(), value);
  return r.ec == std::errc() && r.ptr == text.data() + text.size() &&
         std::isfinite(value);
}

bool parse_unsigned(const std::string& text, unsigned long& value) {
  const auto r = std::from_chars(text.data(), text.data() + text.size(), value);
  return r.ec == std::errc() && r.ptr == text.data() + text.size();
}

// The events of the input files one after the other; a file that cannot be
// read is reported and skipped.
class InputChain : public EventReader {
 public:
  InputChain(const std::vector<std::string>& files, std::istream& in,
             Diagnostics& diagnostics)
      : files_(files), in_(in), diag_(diagnostics) {
    if (files_.empty()) files_.push_back("-");
  }

  bool next(Event& event) override {
    for (;;) {
      if (reader_ && reader_->next(event)) return true;
      reader_.reset();
      file_.reset();
      if (index_ >= files_.size()) return false;
      const std::string& name = files_[index_++];
      if (name == "-") {
        reader_ = open_reader(in_, "<stdin>", diag_);
        continue;
      }
      std::error_code ec;
      if (std::filesystem::is_directory(name, ec)) {
        diag_.error(name, "is a directory");
        continue;
      }
      file_ = std::make_unique<std::ifstream>(name, std::ios::binary);
      if (!*file_) {
        diag_.error(name, std::string("cannot open: ") + std::strerror(errno));
        continue;
      }
      reader_ = open_reader(*file_, name, diag_);
    }
  }

 private:
  std::vector<std::string> files_;
  std::istream& in_;
  Diagnostics& diag_;
  std::size_t index_ = 0;
  std::unique_ptr<std::ifstream> file_;
  std::unique_ptr<EventReader> reader_;
};

struct Chunk {
  std::vector<Event> events;
  std::string output;
  bool done = false;
};

}  // namespace

std::string usage() {
  return "Usage: vestra-fix [OPTION]... [FILE]...\n"
         "Locate the source of each event from the bearings (and arrival\n"
         "times) of its detections: maximum-likelihood fix, 95% confidence\n"
         "ellipse, origin time. FILE is detection JSON or the text format\n"
         "(event station latitude longitude back_azimuth [sigma [time]]);\n"
         "without FILE, or when FILE is -, standard input is read.\n"
         "\n"
         "  --format=FORMAT     text (default), json (one object per event)\n"
         "                      or geojson (one FeatureCollection)\n"
         "  --sigma=DEGREES     bearing standard deviation when a detection\n"
         "                      gives none (default 4)\n"
         "  --celerity=MIN:MAX  range of the celerity, km/s (default\n"
         "                      0.22:0.34); one value fixes it\n"
         "  --pick-error=SECONDS standard deviation of an arrival time pick\n"
         "                      (default 10)\n"
         "  --ellipsoid=N       earth ellipsoid as in vestra, 1 to 25\n"
         "                      (default 25, WGS 84)\n"
         "  -j, --jobs=N        events located on N threads (default: one\n"
         "                      per core)\n"
         "  -h, --help          this text\n"
         "      --version       the version\n"
         "\n"
         "Exit status: 0, or 1 after bad input (the other events are still\n"
         "located) or a refused command line.\n";
}

std::string parse_options(const std::vector<std::string>& args,
                          Options& o) {
  bool only_files = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (only_files || a == "-" || a.empty() || a[0] != '-') {
      o.files.push_back(a);
      continue;
    }
    if (a == "--") {
      only_files = true;
      continue;
    }
    if (a == "-h" || a == "--help") {
      o.help = true;
      continue;
    }
    if (a == "--version") {
      o.version = true;
      continue;
    }
    // An option with a value: --name=value, --name value, -j N or -jN.
    std::string name = a, value;
    bool has_value = false;
    if (a.rfind("--", 0) == 0) {
      const std::size_t eq = a.find('=');
      if (eq != std::string::npos) {
        name = a.substr(0, eq);
        value = a.substr(eq + 1);
        has_value = true;
      }
    } else if (a.rfind("-j", 0) == 0 && a.size() > 2) {
      name = "-j";
      value = a.substr(2);
      has_value = true;
    }
    static const char* const known[] = {"--format", "--sigma", "--celerity",
                                        "--pick-error", "--ellipsoid",
                                        "--jobs", "-j"};
    bool is_known = false;
    for (const char* k : known) is_known = is_known || name == k;
    if (!is_known) return "unknown option " + quote(a);
    if (!has_value) {
      if (i + 1 >= args.size()) return "option " + name + " needs a value";
      value = args[++i];
    }
    const std::string bad = "invalid value for " + name + ": " + quote(value);
    if (name == "--format") {
      if (value == "text") o.format = Format::text;
      else if (value == "json") o.format = Format::json;
      else if (value == "geojson") o.format = Format::geojson;
      else return bad + " (text, json or geojson)";
    } else if (name == "--sigma") {
      double v;
      if (!parse_number(value, v) || !(v > 0.0) || v > 90.0)
        return bad + " (degrees, above 0 and at most 90)";
      o.settings.sigma_deg = v;
    } else if (name == "--celerity") {
      const std::size_t colon = value.find(':');
      double lo, hi;
      const bool ok =
          colon == std::string::npos
              ? parse_number(value, lo) && (hi = lo, true)
              : parse_number(value.substr(0, colon), lo) &&
                    parse_number(value.substr(colon + 1), hi);
      if (!ok || !(lo > 0.0) || !(hi >= lo) || hi > 100.0)
        return bad + " (km/s, MIN:MAX with 0 < MIN <= MAX <= 100)";
      o.settings.celerity_min = lo;
      o.settings.celerity_max = hi;
    } else if (name == "--pick-error") {
      double v;
      if (!parse_number(value, v) || v < 0.0 || v > 1e6)
        return bad + " (seconds, 0 to 1e6)";
      o.settings.pick_error_s = v;
    } else if (name == "--ellipsoid") {
      unsigned long v;
      if (!parse_unsigned(value, v) || v < 1 || v > 25)
        return bad + " (1 to 25)";
      o.settings.ellipsoid = static_cast<int>(v);
    } else {  // --jobs, -j
      unsigned long v;
      if (!parse_unsigned(value, v) || v < 1 || v > 1024)
        return bad + " (1 to 1024)";
      o.jobs = static_cast<unsigned>(v);
    }
  }
  return "";
}

std::size_t locate_all(EventReader& reader, const Options& options,
                       std::ostream& out) {
  const Format format = options.format;
  unsigned jobs = options.jobs;
  if (jobs == 0) jobs = std::max(1u, std::thread::hardware_concurrency());
  std::size_t events = 0;
  bool first = true;

  out << Writer::prologue(format);
  auto emit = [&](const std::string& s) {
    std::size_t from = 0;
    // The first GeoJSON feature of the run has no separator before it.
    if (format == Format::geojson && first && !s.empty()) from = 1;
    if (!s.empty()) first = false;
    out.write(s.data() + from, static_cast<std::streamsize>(s.size() - from));
  };
  auto read_chunk = [&](Chunk& c) {
    Event e;
    while (c.events.size() < chunk_events && reader.next(e))
      c.events.push_back(std::move(e));
    events += c.events.size();
    return !c.events.empty();
  };
  auto process = [&](Locator& locator, const Writer& writer, Chunk& c) {
    for (const Event& e : c.events) writer.write(e, locator.locate(e), c.output);
    c.events.clear();
  };

  if (jobs == 1) {
    Locator locator(options.settings);
    const Writer writer(format, locator.earth());
    Chunk c;
    while (read_chunk(c)) {
      c.output.clear();
      process(locator, writer, c);
      emit(c.output);
    }
  } else {
    std::mutex mutex;
    std::condition_variable work_ready, chunk_done;
    std::deque<Chunk*> queue;                      // waiting for a worker
    std::deque<std::unique_ptr<Chunk>> in_flight;  // in input order
    bool finished = false;

    std::vector<std::thread> workers;
    for (unsigned w = 0; w < jobs; ++w)
      workers.emplace_back([&] {
        Locator locator(options.settings);
        const Writer writer(format, locator.earth());
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
          work_ready.wait(lock, [&] { return finished || !queue.empty(); });
          if (queue.empty()) return;
          Chunk* c = queue.front();
          queue.pop_front();
          lock.unlock();
          process(locator, writer, *c);
          lock.lock();
          c->done = true;
          chunk_done.notify_all();
        }
      });

    // Writes the finished chunks at the front; with `wait`, waits for the
    // front one first.
    auto flush = [&](std::unique_lock<std::mutex>& lock, bool wait) {
      while (!in_flight.empty()) {
        if (wait) chunk_done.wait(lock, [&] { return in_flight.front()->done; });
        if (!in_flight.front()->done) return;
        std::unique_ptr<Chunk> c = std::move(in_flight.front());
        in_flight.pop_front();
        lock.unlock();
        emit(c->output);
        lock.lock();
        wait = false;
      }
    };

    for (;;) {
      auto c = std::make_unique<Chunk>();
      if (!read_chunk(*c)) break;
      std::unique_lock<std::mutex> lock(mutex);
      queue.push_back(c.get());
      in_flight.push_back(std::move(c));
      work_ready.notify_one();
      flush(lock, in_flight.size() >= chunks_per_job * jobs);
    }
    std::unique_lock<std::mutex> lock(mutex);
    while (!in_flight.empty()) flush(lock, true);
    finished = true;
    work_ready.notify_all();
    lock.unlock();
    for (std::thread& t : workers) t.join();
  }
  out << Writer::epilogue(format);
  return events;
}

int fix_main(const std::vector<std::string>& args, std::istream& in,
             std::ostream& out, std::ostream& err) {
  Options options;
  const std::string refused = parse_options(args, options);
  if (!refused.empty()) {
    err << "vestra-fix: " << refused << "\nTry 'vestra-fix --help'.\n";
    return 1;
  }
  if (options.help) {
    out << usage();
    return 0;
  }
  if (options.version) {
    out << "vestra-fix, from " << shortVersion << '\n';
    return 0;
  }
  Diagnostics diagnostics(err);
  InputChain inputs(options.files, in, diagnostics);
  locate_all(inputs, options, out);
  out.flush();
  if (!out) {
    err << "vestra-fix: cannot write the output\n";
    return 1;
  }
  return diagnostics.errors() ? 1 : 0;
}

}  // namespace fix
