#include "lab/damage/damage.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "lab/stlab/commands.h"
#include "lab/stlab/help.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"
#include "lab/stlab/text.h"

namespace stlab {

namespace {

struct settings {
  recorder_folder folder;
  std::string kind;
  lab::damage_options options;
};

exit_status damage(settings const& asked) {
  // Tells a folder that is no recorder from damage that cannot be done.
  open_recorder(asked.folder, lab::access::read_only);
  require_writable(asked.folder);
  print(lab::damage(asked.folder.path, asked.options));
  return exit_status::done;
}

std::vector<std::string> kind_names() {
  std::vector<std::string> names;
  for (lab::damage_kind const& each : lab::damage_kinds()) names.emplace_back(each.name);
  return names;
}

std::string kinds_text() {
  std::string text = "Kinds of damage:\n";
  for (lab::damage_kind const& each : lab::damage_kinds()) {
    std::string const name = each.name;
    std::string const line = "  " + name + std::string(16 - name.size(), ' ') + each.what;
    text += wrapped(line, help_columns, 18) + '\n';
  }
  return text;
}

// A single word is the kind, not the folder.
void complete_words(settings& asked) {
  if (asked.kind.empty()) asked.kind = std::exchange(asked.folder.path, {}).string();
  if (asked.kind.empty()) throw CLI::ValidationError("the kind of damage is missing");
  std::vector<std::string> const kinds = kind_names();
  if (std::find(kinds.begin(), kinds.end(), asked.kind) == kinds.end()) {
    throw CLI::ValidationError("'" + asked.kind + "' is no kind of damage");
  }
  asked.options.kind = asked.kind;
  complete(asked.folder, fallback::none);
}

// Shows that the kind is never left out, though it may be the first word.
class damage_formatter : public CLI::Formatter {
 public:
  std::string make_option_usage(CLI::Option const* option) const override {
    std::string const usage = CLI::Formatter::make_option_usage(option);
    return usage == "[KIND]" ? "KIND" : usage;
  }
};

}  // namespace

void add_damage(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command =
      *tool.add_subcommand("damage", "Damages one volume the way recorders get damaged in life");
  add_folder(command, asked->folder, fallback::none);
  lab::damage_options& options = asked->options;
  command.add_option("KIND", asked->kind, "The kind, see below; a single word is the kind")
      ->type_name("");
  command.footer(kinds_text());
  command.formatter(std::make_shared<damage_formatter>());
  command.add_option("--seed", options.seed, "The same seed does the same to the same recorder")
      ->transform(whole_number(0, most_seed))
      ->type_name("N");
  add_volume(command, options.volume, "the seed chooses");
  command.add_option("--unit", options.unit, "Of units: a recorded or a free one")
      ->check(one_of({"recorded", "free"}))
      ->type_name("NAME")
      ->default_str("recorded");
  command.add_option("--count", options.count, "Units that leak or move, or periods without an id")
      ->transform(whole_number(1, most_units))
      ->type_name("N")
      ->default_str("what the kind needs");
  command.add_option("--mount", options.mount, "Of unmounted: what is wrong with the volume")
      ->check(one_of({"missing", "foreign", "absent"}))
      ->type_name("NAME")
      ->default_str("missing");
  command.add_option("--move", options.move, "Of stopped: which move")
      ->check(one_of({"recycling", "recording"}))
      ->type_name("NAME")
      ->default_str("recycling");
  command.add_option("--step", options.step, "Of stopped: the last step that was done")
      ->transform(whole_number(1, most_steps))
      ->type_name("K")
      ->default_str("the seed chooses");
  command.callback([asked, &chosen] {
    complete_words(*asked);
    chosen = [asked] { return damage(*asked); };
  });
}

}  // namespace stlab
