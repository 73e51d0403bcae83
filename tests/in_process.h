// Helpers of the unit tests that run a program's main in-process and of
// those that need files.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

/// What a main returned and wrote.
struct Outcome {
  int status;
  std::string out, err;
};

/// Runs `main` (a program's main on its arguments and streams) on `in`.
template <class Main>
Outcome run_main(Main main, const std::vector<std::string>& args,
                 std::istream& in) {
  std::ostringstream out, err;
  const int status = main(args, in, out, err);
  return {status, out.str(), err.str()};
}

template <class Main>
Outcome run_main(Main main, const std::vector<std::string>& args,
                 const std::string& input = "") {
  std::istringstream in(input);
  return run_main(main, args, in);
}

/// The bytes of a file ("" when it cannot be read).
inline std::string read_text(const std::filesystem::path& file) {
  std::ostringstream s;
  s << std::ifstream(file, std::ios::binary).rdbuf();
  return s.str();
}

/// A fresh temporary directory, removed with its contents at the end.
struct TempDir {
  std::filesystem::path path;
  TempDir() {
    std::string name =
        (std::filesystem::temp_directory_path() / "vestra-test-XXXXXX").string();
    path = mkdtemp(name.data());
  }
  ~TempDir() {
    std::error_code e;
    std::filesystem::remove_all(path, e);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::filesystem::path operator/(const char* name) const { return path / name; }
  /// Writes `text` to the file `name` in the directory; its path.
  std::string file(const std::string& name, const std::string& text) const {
    std::ofstream(path / name, std::ios::binary) << text;
    return (path / name).string();
  }
};
