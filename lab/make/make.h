// Making a recorder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "lab/make/plan.h"

namespace lab {

// Called with (done, total) while something long goes on, often more than once
// with the same numbers. What it throws ends that.
using progress = std::function<void(std::int64_t done, std::int64_t total)>;

// Makes a recorder in `folder`, which must be absent or empty. The same options
// make the same recorder, byte for byte. Leaves nothing behind on failure. Throws
// lab::error.
void make_recorder(std::filesystem::path const& folder, make_options const& options,
                   progress const& report);

// The same, of a plan.
void make_recorder(std::filesystem::path const& folder, make_plan const& plan,
                   progress const& report);

}  // namespace lab
