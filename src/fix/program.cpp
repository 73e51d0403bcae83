#include "fix/program.h"

#include <iostream>

#include "fix/inputs.h"
#include "fix/options.h"
#include "fix/pipeline.h"
#include "version.h"

namespace fix {

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
