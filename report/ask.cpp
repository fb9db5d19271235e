#include "report/ask.h"

#include <exception>
#include <utility>

#include "report/asking.h"
#include "storage/clock.h"

namespace report {

namespace {

void ask_service(asking& in, previewing preview) {
  obtained_setting setting;
  if (setting.get() == nullptr) {
    in.told.not_asked.emplace_back("the storage service cannot be opened");
    return;
  }
  in.now_ms = st::now_milliseconds();
  ask_spaces(in, *setting.get());
  ask_volumes(in, *setting.get());
  ask_channels(in, *setting.get());
  obtained_plug_play plug_play;
  if (plug_play.get() == nullptr) {
    in.told.not_asked.emplace_back(
        "the plug-and-play service cannot be opened: where channels record now is not known");
  } else {
    ask_assignments(in, *plug_play.get());
  }
  ask_sizes(in, *setting.get());
  if (preview == previewing::yes) ask_preview(in);
  plug_play.close();
  setting.close();
}

}  // namespace

value ask(previewing preview) {
  asking in;
  try {
    ask_service(in, preview);
  } catch (std::exception const& problem) {
    in.told.not_asked.push_back(ended_early + clean_text(problem.what()));
  } catch (...) {
    in.told.not_asked.emplace_back("asking ended early");
  }
  in.told.problems = in.problems.lines();
  return std::move(in.told);
}

}  // namespace report
