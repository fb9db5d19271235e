#include "cli/usage.h"

#include <cstdio>
#include <cstdlib>

namespace st {

namespace {

// Each line with its end; the text of spaceinfo takes its own from the next.
constexpr char const* usage_lines[] = {
    "show volume properties or set volume properties of specific space\n",
    "st CMD PARAMETERS\n",
    "st spacelist\n",
    "st vollist space_name\n",
    "st volset volume_name volume_type volume_state\n",
    "st volchn volume_name\n",
    "st voluse channel_id\n",
    "st volclean channel_id\n",
    "st autoclean\n",
    "st nullid channel_id\n",
    "st recoverid channel_id\n",
    "st spaceinfo space_name\n",
    // clang-format off
    "-----------------------------------------------------------------------------------------------------\n",
    "CMD:\n",
    "spacelist:     show all space name and information.\n",
    "vollist:       show all volume name and information of a specific space name.\n",
    "volset:        set volume type and state of a specific volume name.\n",
    "volchn:        show all channels using the specific volume.\n",
    "voluse:        show channel's uses volume. channel_id = -1, -> show all channels' using volume.\n",
    "volclean:      remove specific channel's data remain in volumes. channel_id = -1, -> remove all channel's remain data.\n",
    "autoclean:     check volume space leak and clean(recycle).\n",
    "nullid:        list channel's null storage id time period. channel_id = -1, -> list all channels' null storage id time period.\n",
    "recoverid:     recover channel's storage id to null storage id time period.\n",
    "               channel_id = -1, -> recover all channels' storage id to null storage id time period.\n",
    "spaceinfo:     show channel recording information of a specific space name.",
    // clang-format on
    "\nPARAMETER:\n",
    "space_name:    space name\n",
    "volume_name:   volume name listed by vollist\n",
    "volume_type:   0:NORMAL| 1:SPARE volume\n",
    "volume_state:  0:STANDBY| 1:ACTIVE\n",
    "channel_id:    0 base\n",
};

}  // namespace

void exit_with_usage() {
  for (char const* line : usage_lines) std::printf("%s", line);
  std::exit(0);
}

}  // namespace st
