// How measuring ended, in the words of the JSON format.
#pragma once

#include <array>

#include "report/model.h"

namespace report {

struct measuring_word {
  measuring how;
  char const* word;
};

inline constexpr std::array<measuring_word, 3> measuring_words{{
    {measuring::done, "done"},
    {measuring::not_mounted, "not-mounted"},
    {measuring::failed, "failed"},
}};

}  // namespace report
