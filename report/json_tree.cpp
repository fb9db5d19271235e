#include "report/json_tree.h"

#include <cstddef>

#include "report/json.h"

namespace report {

namespace {

using json = nlohmann::json;

// What a text may hold at most: all of it has to fit into memory.
constexpr std::size_t deepest = 8;
constexpr std::size_t most_numbers = 8'000'000;
constexpr std::size_t most_others = 4'000'000;
constexpr std::size_t longest_text = 131'072;

// Counts what a text holds before anything of it is made. (A callback of the parser could
// count too, but each object would then cost a look at all before it.)
class size_check : public json::json_sax_t {
 public:
  bool null() override { return add(others_, most_others); }
  bool boolean(bool /*value*/) override { return add(others_, most_others); }
  bool number_integer(number_integer_t /*value*/) override { return add_number(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return add_number(); }
  bool number_float(number_float_t /*value*/, string_t const& /*text*/) override {
    return add_number();
  }
  bool string(string_t& text) override { return add_text(text); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool start_object(std::size_t /*size*/) override { return open(); }
  bool key(string_t& text) override { return add_text(text); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t /*size*/) override { return open(); }
  bool end_array() override { return close(); }
  bool parse_error(std::size_t position, std::string const& /*last*/,
                   json::exception const& /*problem*/) override {
    throw not_a_report("no report: not JSON from byte " + std::to_string(position) + " on");
  }

 private:
  static bool add(std::size_t& count, std::size_t most) {
    if (++count > most) throw not_a_report("no report: it holds too much");
    return true;
  }
  bool add_number() { return add(numbers_, most_numbers); }
  bool add_text(string_t const& text) {
    if (text.size() > longest_text) throw not_a_report("no report: a text is too long");
    return add(others_, most_others);
  }
  bool open() {
    if (++depth_ > deepest) throw not_a_report("no report: it is nested too deeply");
    return add(others_, most_others);
  }
  bool close() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  std::size_t numbers_ = 0;
  std::size_t others_ = 0;
};

}  // namespace

json json_tree(std::string_view text) {
  size_check check;
  json::sax_parse(text, &check);
  return json::parse(text);
}

}  // namespace report
