#include <iostream>
#include <memory>

#include "lab/recorder_damage.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/options.h"
#include "lab/stlab/recorder_access.h"

namespace stlab {

namespace {

struct settings {
  std::filesystem::path folder;
  lab::damage_options options;
};

exit_status damage(settings const& asked) {
  // Tells a folder that is no recorder from damage that cannot be done.
  open_recorder(asked.folder, lab::access::read_only);
  std::cout << lab::damage(asked.folder, asked.options) << '\n';
  return exit_status::done;
}

std::vector<std::string> kind_names() {
  std::vector<std::string> names;
  for (lab::damage_kind const& each : lab::damage_kinds()) names.emplace_back(each.name);
  return names;
}

std::string kinds_text() {
  std::string text = "Kinds:\n";
  for (lab::damage_kind const& each : lab::damage_kinds()) {
    std::string const name = each.name;
    text += "  " + name + std::string(16 - name.size(), ' ') + each.what + '\n';
  }
  return text;
}

}  // namespace

void add_damage(CLI::App& tool, action& chosen) {
  auto const asked = std::make_shared<settings>();
  CLI::App& command =
      *tool.add_subcommand("damage", "Damages one volume the way recorders get damaged in life");
  add_folder(command, asked->folder);
  lab::damage_options& options = asked->options;
  command.add_option("KIND", options.kind, kinds_text())
      ->required()
      ->check(CLI::IsMember(kind_names()))
      ->type_name("");
  command.add_option("--seed", options.seed, "The same seed does the same to the same recorder")
      ->transform(whole_number(0, most_seed))
      ->type_name("N");
  command.add_option("--volume", options.volume, "The volume's name")
      ->type_name("NAME")
      ->default_str("the seed chooses");
  command.add_option("--unit", options.unit, "Of units: a recorded or a free one")
      ->check(CLI::IsMember({"recorded", "free"}))
      ->type_name("NAME")
      ->default_str("recorded");
  command.add_option("--count", options.count, "Units that leak or move, or periods without an id")
      ->transform(whole_number(1, most_units))
      ->type_name("N")
      ->default_str("what the kind needs");
  command.add_option("--mount", options.mount, "Of unmounted: what is wrong with the volume")
      ->check(CLI::IsMember({"missing", "foreign", "absent"}))
      ->type_name("NAME")
      ->default_str("missing");
  command.add_option("--move", options.move, "Of stopped: which move")
      ->check(CLI::IsMember({"recycling", "recording"}))
      ->type_name("NAME")
      ->default_str("recycling");
  command.add_option("--step", options.step, "Of stopped: the last step that was done")
      ->transform(whole_number(1, most_steps))
      ->type_name("K")
      ->default_str("the seed chooses");
  command.callback([asked, &chosen] { chosen = [asked] { return damage(*asked); }; });
}

}  // namespace stlab
