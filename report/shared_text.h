// A text that very many values hold.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace report {

// Copies share the text, which nobody changes.
class shared_text {
 public:
  shared_text() noexcept = default;
  // As a text is written.
  shared_text(std::string text)  // NOLINT(google-explicit-constructor)
      : text_(text.empty() ? nullptr : std::make_shared<std::string const>(std::move(text))) {}
  shared_text(char const* text)  // NOLINT(google-explicit-constructor)
      : shared_text(std::string(text)) {}

  bool empty() const noexcept { return text_ == nullptr; }
  std::string_view view() const noexcept { return text_ ? *text_ : std::string_view(); }

  friend bool operator==(shared_text const& left, shared_text const& right) noexcept {
    return left.text_ == right.text_ || left.view() == right.view();
  }

 private:
  std::shared_ptr<std::string const> text_;  // null for an empty one
};

}  // namespace report
