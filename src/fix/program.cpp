#include "fix/program.h"

#include <iostream>

#include "fix/inputs.h"
#include "fix/options.h"
#include "fix/pipeline.h"
#include "cli/command_line.h"

namespace fix {

int fix_main(const std::vector<std::string>& args, std::istream& in,
             std::ostream& out, std::ostream& err) {
  const std::string program = "vestra-fix";
  Options options;
  const std::string refused = parse_options(args, options);
  if (!refused.empty()) return cli::refuse_command_line(program, refused, err);
  cli::Diagnostics diagnostics(program, err);
  if (options.help || options.version) {
    out << (options.help ? usage() : cli::version_line(program));
    return cli::finish_output(out, diagnostics) ? 0 : 1;
  }
  InputChain inputs(options.files, in, diagnostics,
                    cli::worker_count(options.jobs));
  locate_all(inputs, options, out);
  if (!cli::finish_output(out, diagnostics)) return 1;
  return diagnostics.errors() ? 1 : 0;
}

}  // namespace fix
