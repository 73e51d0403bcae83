// Result writers. Their text is compared end to end by the golden cases
// (format_*, *_space, json_*, gps_writer, clean_writer); what those cannot
// reach is here.

#include "output.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

namespace {

// With tracing on, every writer names itself as it is made, after the base.
// (A run makes its default writer before --debug is read, and the golden
// traces use --json only.)
TEST(Writers, EachTracesItsConstruction) {
  std::string sep = "\n";
  debug = 1;
  testing::internal::CaptureStderr();
  output_normal normal(std::cout, sep);
  output_clean clean(std::cout, sep);
  output_gps gps(std::cout, sep);
  output_json json(std::cout, sep);
  const std::string err = testing::internal::GetCapturedStderr();
  debug = 0;
  std::size_t at = 0;
  for (const char* name : {"normal", "clean", "gps", "json"}) {
    at = err.find(":: debug: base\n", at);
    ASSERT_NE(at, std::string::npos) << name << " in\n" << err;
    at = err.find(std::string(":: debug: ") + name + "\n", at);
    ASSERT_NE(at, std::string::npos) << name << " in\n" << err;
  }
}

}  // namespace
