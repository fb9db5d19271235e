// The trace of library calls: the file that STLAB_TRACE names gets one JSON
// array a line for each call, when the call ends:
//
//   [operation, {arguments}, result]
//
// A call that logs stands behind its own log line. A result is the number that
// the call returned, or an object when the call also filled something:
// "elements" of a list, "obtained" for a pointer, "size", "days", and so on.
// Constructors, destructors and functions without a result have null.
//
// Text is UTF-8; a byte that is no part of it is written as \u00XX (characters
// above 7F are never escaped otherwise). Each line is one write to a file
// opened for appending, so several processes can share it. Only a regular file
// of one name is written, or a new one made, and no link is followed: it may lead
// out of a recorder. A trace that cannot be written is dropped
// silently: it must not change what the program does, nor make it wait.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace lab::client {

// A JSON value in its written form.
class json {
 public:
  json(std::nullptr_t) : text_("null") {}                // NOLINT(*-explicit-*)
  json(bool value) : text_(value ? "true" : "false") {}  // NOLINT(*-explicit-*)
  template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
  json(Number number) : text_(std::to_string(number)) {}  // NOLINT(*-explicit-*)
  json(void const*) = delete;
  json(std::string_view text);                                     // NOLINT(*-explicit-*)
  json(std::string const& text) : json(std::string_view(text)) {}  // NOLINT(*-explicit-*)
  json(char const* text);                                          // NOLINT(*-explicit-*)

  static json array(std::vector<json> const& elements);
  static json object(std::initializer_list<std::pair<char const*, json>> members);

  std::string const& text() const noexcept { return text_; }

 private:
  json() = default;

  std::string text_;
};

// Appends a call to the trace, when there is one.
void trace(char const* operation, json const& arguments, json const& result);

}  // namespace lab::client
