// Owners of what the storage service hands out. Each releases once, at the
// latest when it leaves its scope; close() does it earlier and lets what the
// service throws pass, while a destructor swallows it.
//
// The setting and the plug-and-play service have no owner here: when an
// exception passes they stay with the service, unreleased.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "storage/ids.h"
#include "storage/service.h"

namespace st {

// When a destroy call is made: for an object that was obtained, or even for a
// null pointer.
enum class release { when_obtained, always };

// A channel's frame session. It must not outlive the CKivChannel it came from.
class channel_session {
 public:
  channel_session(CKivChannel& channels, channel_sid const& channel, release when)
      : channels_(channels) {
    channels_.create_channel_session(identity_of(channel), &session_);
    open_ = session_ != nullptr || when == release::always;
  }
  ~channel_session() {
    try {
      close();
    } catch (...) {  // a second exception would end the process
    }
  }
  channel_session(channel_session const&) = delete;
  channel_session& operator=(channel_session const&) = delete;

  // Null when the service could not open a session.
  IFrameChannelSession* get() const noexcept { return session_; }

  void close() {
    if (!std::exchange(open_, false)) return;
    channels_.destroy_channel_session(&session_);
  }

 private:
  CKivChannel& channels_;
  IFrameChannelSession* session_ = nullptr;
  bool open_ = false;
};

// A channel's storage configuration, destroyed only when it was obtained: with
// a result of 0 and a pointer that is not null. It must not outlive the
// CKivStorage it came from.
class channel_configuration {
 public:
  channel_configuration(CKivStorage& storage, channel_sid const& channel)
      : storage_(storage), channel_number_(channel.number) {
    result_ = storage_.create_channel_configuration(identity_of(channel), &configuration_);
    open_ = result_ == 0 && configuration_ != nullptr;
  }
  ~channel_configuration() {
    try {
      close();
    } catch (...) {  // a second exception would end the process
    }
  }
  channel_configuration(channel_configuration const&) = delete;
  channel_configuration& operator=(channel_configuration const&) = delete;

  // What the create call returned, 0 for success.
  int result() const noexcept { return result_; }

  // May be null even after a result of 0.
  IChannelStorageConfiguration* get() const noexcept { return configuration_; }

  void close() {
    if (!std::exchange(open_, false)) return;
    storage_.destroy_channel_configuration(channel_number_, &configuration_);
  }

 private:
  CKivStorage& storage_;
  std::int32_t channel_number_;
  IChannelStorageConfiguration* configuration_ = nullptr;
  int result_ = 0;
  bool open_ = false;
};

// The answer of a day query: frees each text and the array.
class recording_days {
 public:
  recording_days() = default;
  ~recording_days() {
    for (std::int32_t i = 0; i < size(); ++i) std::free(list().days[i]);
    std::free(list().days);
  }
  recording_days(recording_days const&) = delete;
  recording_days& operator=(recording_days const&) = delete;

  // For the query to fill.
  day_list* out() noexcept { return &filled_.record; }

  // The count as answered, and how many texts that really makes.
  std::int32_t count() const noexcept { return list().count; }
  std::int32_t size() const noexcept { return list().days == nullptr ? 0 : list().count; }
  char const* operator[](std::int32_t i) const noexcept {
    return list().days[i] == nullptr ? "" : list().days[i];
  }

 private:
  day_list const& list() const noexcept { return filled_.record; }

  with_room<day_list> filled_;
};

// The owner of a CFSTier or CFSUnit: uninit() and deletion follow even after a
// failed init().
template <typename FileStorage>
class file_storage {
 public:
  file_storage() : storage_(std::make_unique<FileStorage>()) {}
  ~file_storage() {
    try {
      close();
    } catch (...) {  // a second exception would end the process
    }
  }
  file_storage(file_storage const&) = delete;
  file_storage& operator=(file_storage const&) = delete;

  FileStorage* operator->() const noexcept { return storage_.get(); }

  void close() {
    if (std::unique_ptr<FileStorage> const closing = std::move(storage_)) closing->uninit();
  }

 private:
  std::unique_ptr<FileStorage> storage_;
};

}  // namespace st
