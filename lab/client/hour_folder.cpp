#include <string>

#include "lab/client/operation.h"
#include "lab/volume/layout.h"
#include "storage/service.h"

namespace {

constexpr std::size_t path_size = 512;

}  // namespace

void make_hour_folder_full_path(char* path, char const* storage_folder, stream_info stream,
                                long long time) {
  constexpr char name[] = "make_hour_folder_full_path";
  lab::client::no_answer none;
  path[0] = '\0';
  lab::client::attempt(name, &none, [&] {
    std::string full = storage_folder;
    full += '/';
    full +=
        lab::hour_folder_name(stream.channel.number, stream.recording_type, stream.stream, time);
    if (full.size() >= path_size) full.clear();
    path[full.copy(path, path_size - 1)] = '\0';
  });
  lab::client::trace(name,
                     lab::client::json::object({{"storage_folder", storage_folder},
                                                {"stream", lab::client::describe_stream(stream)},
                                                {"time", time}}),
                     path);
}
