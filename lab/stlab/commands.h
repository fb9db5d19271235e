// The subcommands of stlab, one source each.
#pragma once

#include <functional>
#include <stdexcept>

// The option parser's, which is slow to compile: only options.cpp, help.cpp and tool.cpp
// read its header.
namespace CLI {  // NOLINT(readability-identifier-naming)
class App;
}

namespace stlab {

enum class exit_status { done = 0, findings = 1, usage = 2, unusable = 3, refused = 4 };

// What the command line asks for.
using action = std::function<exit_status()>;

// Thrown for a command line that asks for what there is not: exit_status::usage.
class wrong_usage : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Thrown by an action that cannot do what is asked: exit_status::refused.
class refusal : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Thrown when there is no usable recorder: exit_status::unusable.
class unusable : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Each adds its subcommand to the tool. When the command line names it,
// `chosen` becomes its action.
void add_make(CLI::App& tool, action& chosen);
void add_import(CLI::App& tool, action& chosen);
void add_show(CLI::App& tool, action& chosen);
void add_record(CLI::App& tool, action& chosen);
void add_expire(CLI::App& tool, action& chosen);
void add_leak(CLI::App& tool, action& chosen);
void add_lose_id(CLI::App& tool, action& chosen);
void add_assign(CLI::App& tool, action& chosen);
void add_check(CLI::App& tool, action& chosen);
void add_collect(CLI::App& tool, action& chosen);
void add_damage(CLI::App& tool, action& chosen);
void add_mount(CLI::App& tool, action& chosen);

}  // namespace stlab
