#include "cli/dispatcher.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "cli/usage.h"
#include "commands/commands.h"
#include "storage/number.h"
#include "storage/service.h"
#include "storage/system_utility.h"
#include "storage/text.h"

namespace st {

namespace {

// What a command gets: the words of the command line, converted.
struct invocation {
  IStorageSetting* setting = nullptr;
  IPlugPlayService* plug_play = nullptr;
  char name[512] = {};
  std::int32_t channel_id = 0;
  std::uint32_t volume_type = 0;
  std::uint32_t volume_state = 0;
};

enum class arguments { none, name, name_type_state, channel_id };

// When a command's plug-and-play service is obtained: volchn's before its name
// is copied, voluse's after its channel is converted. A command whose arguments
// can be refused obtains none before them.
enum class service_timing { not_needed, before_arguments, after_arguments };

constexpr int any_count = 0;

struct command {
  char const* word;
  int argument_count;  // with the program's name; any_count: as many as st accepts
  arguments converted;
  service_timing service;
  void (*handler)(invocation const&);
};

// In the order in which the command word is compared.
constexpr command commands[] = {
    {"spacelist", any_count, arguments::none, service_timing::not_needed,
     [](invocation const& call) { cmd_spacelist(call.setting); }},
    {"vollist", 3, arguments::name, service_timing::not_needed,
     [](invocation const& call) { cmd_vollist(call.setting, call.name); }},
    {"volset", 5, arguments::name_type_state, service_timing::not_needed,
     [](invocation const& call) {
       cmd_volset(call.setting, call.name, call.volume_type, call.volume_state);
     }},
    {"volchn", 3, arguments::name, service_timing::before_arguments,
     [](invocation const& call) { cmd_volchn(call.setting, call.plug_play, call.name); }},
    {"voluse", 3, arguments::channel_id, service_timing::after_arguments,
     [](invocation const& call) { cmd_voluse(call.setting, call.plug_play, call.channel_id); }},
    {"volclean", 3, arguments::channel_id, service_timing::not_needed,
     [](invocation const& call) { cmd_volclean(call.setting, call.channel_id); }},
    {"autoclean", any_count, arguments::none, service_timing::not_needed,
     [](invocation const& call) { cmd_autoclean(call.setting); }},
    {"nullid", 3, arguments::channel_id, service_timing::not_needed,
     [](invocation const& call) { cmd_nullid(call.setting, call.channel_id); }},
    // Accepted and advertised, but nothing stands behind it.
    {"recoverid", 3, arguments::channel_id, service_timing::not_needed, [](invocation const&) {}},
    {"spaceinfo", 3, arguments::name, service_timing::not_needed,
     [](invocation const& call) { cmd_spaceinfo(call.setting, call.name); }},
};

constexpr bool is_accepted_count(int count) { return count == 2 || count == 3 || count == 5; }

command const* find_command(char const* word) {
  for (command const& row : commands) {
    if (std::strcmp(row.word, word) == 0) return &row;
  }
  return nullptr;
}

// Converts the words behind the command word; false when a value is not one
// that the command takes.
bool convert_arguments(arguments converted, char const* const* words, invocation& call) {
  switch (converted) {
    case arguments::none:
      return true;
    case arguments::name:
      copy_text(call.name, sizeof call.name, words[0]);
      return true;
    case arguments::channel_id:
      call.channel_id = number_from_text(words[0]);
      return true;
    case arguments::name_type_state:
      copy_text(call.name, sizeof call.name, words[0]);
      call.volume_type = static_cast<std::uint32_t>(number_from_text(words[1]));
      call.volume_state = static_cast<std::uint32_t>(number_from_text(words[2]));
      return call.volume_type <= 1 && call.volume_state <= 1;
  }
  return false;
}

}  // namespace

int run(int argc, char* argv[]) {
  char word[128] = {};
  CKivStorage storage;
  CKivStorageDaemon daemon;
  invocation call;

  if (!is_accepted_count(argc)) exit_with_usage();
  nstrcpy(word, argv[1], sizeof word);

  storage.create_storage_setting(&call.setting);
  if (call.setting == nullptr) {
    std::printf("Query storage settings faiure.\n");
    return 0;
  }

  command const* const chosen = find_command(word);
  bool usable =
      chosen != nullptr && (chosen->argument_count == any_count || chosen->argument_count == argc);
  if (usable) {
    if (chosen->service == service_timing::before_arguments) {
      daemon.create_plug_play_service(&call.plug_play);
    }
    usable = convert_arguments(chosen->converted, argv + 2, call);
  }
  if (!usable) {
    storage.destroy_storage_setting(&call.setting);
    exit_with_usage();
  }
  if (chosen->service == service_timing::after_arguments) {
    daemon.create_plug_play_service(&call.plug_play);
  }

  chosen->handler(call);

  if (chosen->service != service_timing::not_needed)
    daemon.destroy_plug_play_service(&call.plug_play);
  storage.destroy_storage_setting(&call.setting);
  return 0;
}

}  // namespace st
