// A JSON text from outside as nodes.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

namespace report {

// Throws not_a_report for what is no JSON, and for what holds so much, or so deeply
// nested, that no report does.
nlohmann::json json_tree(std::string_view text);

}  // namespace report
