// The codes of what needs attention: part of the JSON format and of the metrics' labels.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "report/model.h"

namespace report {

struct coded_concern {
  concern what;
  char const* code;
};

// The worst first: what keeps from recording, what will, what is lost already, and what
// is not known.
inline constexpr std::array<coded_concern, 9> concerns{{
    {concern::not_mounted, "not-mounted"},
    {concern::space_state, "space-state"},
    {concern::volume_state, "volume-state"},
    {concern::leak, "leak"},
    {concern::nothing_recorded, "nothing-recorded"},
    {concern::too_few_days, "too-few-days"},
    {concern::null_id, "null-id"},
    {concern::not_measured, "not-measured"},
    {concern::unreasonable_answer, "unreasonable-answer"},
}};

// None when no concern has that code.
std::optional<concern> concern_of(std::string_view code) noexcept;

}  // namespace report
