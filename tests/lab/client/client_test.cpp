#include "client_test.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "environment.h"
#include "lab/check/check.h"

namespace client {

namespace {

// Gives the folder, and then this process, to the user that owns nothing else.
void become_ordinary(std::filesystem::path const& folder) {
  constexpr uid_t nobody = 65534;
  bool done = ::chown(folder.c_str(), nobody, nobody) == 0;
  for (auto const& entry : std::filesystem::recursive_directory_iterator(folder)) {
    done = done && ::lchown(entry.path().c_str(), nobody, nobody) == 0;
  }
  done = done && ::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
         ::setresuid(nobody, nobody, nobody) == 0;
  if (!done) ADD_FAILURE() << "cannot become an ordinary user";
}

}  // namespace

lab::make_options small() {
  return support::small([](auto& options) {
    options.spaces = 2;
    options.now_ms = now_ms;
  });
}

client_test::client_test() : start_(std::filesystem::current_path()) {
  ::setenv("STLAB_RECORDER", recorder.c_str(), 1);
  ::setenv("STLAB_TRACE", trace.c_str(), 1);
}

client_test::~client_test() {
  support::scrub_environment();
  std::error_code ignored;
  std::filesystem::current_path(start_, ignored);
}

kivsid client_test::space_sid(std::size_t index) const { return space_id(space(index).sid); }

kivsid client_test::volume_sid(std::size_t index) const { return volume_id(volume(index)); }

channel_sid client_test::id_of_channel(std::size_t index) const {
  return channel_id(channel(index));
}

void client_test::expect_sound() const { EXPECT_EQ(lab::findings(), lab::check(reader())); }

void client_test::as_ordinary_user(std::function<void()> const& body) const {
  if (::geteuid() != 0) return body();
  std::fflush(nullptr);
  pid_t const child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    become_ordinary(folder);
    body();
    std::fflush(nullptr);
    // No exit(): the leak check cannot look into a process that changed its user.
    ::_exit(HasFailure() ? 1 : 0);
  }
  int status = -1;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_EQ(0, status) << "see the failures of the child process above";
}

std::vector<std::string> client_test::traced() const {
  if (!std::filesystem::exists(trace)) return {};
  return support::lines_of(support::content_of(trace));
}

std::vector<std::string> client_test::traced(std::string const& operation) const {
  std::string const beginning = "[\"" + operation + "\",";
  std::vector<std::string> lines;
  for (std::string const& line : traced()) {
    if (line.compare(0, beginning.size(), beginning) == 0) lines.push_back(line);
  }
  return lines;
}

std::size_t files_in(std::filesystem::path const& folder) {
  std::filesystem::directory_iterator const all(folder);
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

kivsid space_id(std::string const& sid) {
  kivsid id;
  std::memcpy(&id.number, sid.data(), sizeof id.number);
  std::memcpy(id.text, sid.data() + sizeof id.number, sizeof id.text);
  return id;
}

kivsid volume_id(lab::volume const& of) {
  kivsid id;
  id.number = of.sid_number;
  of.sid_text.copy(id.text, sizeof id.text);
  return id;
}

channel_sid channel_id(lab::channel const& of) {
  channel_sid id = channel_id(of.sid);
  id.number = of.number;
  return id;
}

channel_sid channel_id(std::string const& id) {
  channel_sid made;
  id.copy(made.id, sizeof made.id);
  return made;
}

stream_info stream_of(lab::channel const& of, std::int32_t recording_type, std::int32_t stream) {
  stream_info made;
  made.channel = channel_id(of);
  made.stream = stream;
  made.recording_type = recording_type;
  return made;
}

}  // namespace client
