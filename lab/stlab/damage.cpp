#include "lab/damage/damage.h"

#include <algorithm>
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
  lab::damage_options options;
};

exit_status damage(settings const& asked) {
  // Tells a folder that is no recorder from damage that cannot be done.
  open_recorder(asked.folder, lab::access::read_only);
  require_writable(asked.folder);
  print(lab::damage(asked.folder.path, asked.options));
  return exit_status::done;
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
  std::string& kind = asked.options.kind;
  if (kind.empty()) kind = std::exchange(asked.folder.path, {}).string();
  if (kind.empty()) throw wrong_usage("the kind of damage is missing");
  auto const& kinds = lab::damage_kinds();
  if (std::none_of(kinds.begin(), kinds.end(),
                   [&](auto const& each) { return each.name == kind; })) {
    throw wrong_usage("'" + kind + "' is no kind of damage");
  }
  complete(asked.folder, fallback::none);
}

}  // namespace

void add_damage(CLI::App& tool, action& chosen) {
  auto [command, asked] = add_command(tool, chosen, "damage",
                                      "Damages one volume the way recorders get damaged in life",
                                      fallback::none, damage, complete_words);
  lab::damage_options& options = asked.options;
  add_needed_word(command, "KIND", options.kind, "The kind, see below; a single word is the kind");
  set_footer(command, kinds_text());
  add_number(command, "--seed", options.seed, "The same seed does the same to the same recorder",
             {0, most_seed});
  add_volume(command, options.volume, "the seed chooses");
  add_choice(command, "--unit", options.unit, "Of units: a recorded or a free one",
             {"recorded", "free"}, "recorded");
  add_number(command, "--count", options.count, "Units that leak or move, or periods without an id",
             {1, most_units, "what the kind needs"});
  add_choice(command, "--mount", options.mount, "Of unmounted: what is wrong with the volume",
             {"missing", "foreign", "absent"}, "missing");
  add_choice(command, "--move", options.move, "Of stopped: which move", {"recycling", "recording"},
             "recycling");
  add_number(command, "--step", options.step, "Of stopped: the last step that was done",
             {1, most_steps, "the seed chooses", "K"});
}

}  // namespace stlab
