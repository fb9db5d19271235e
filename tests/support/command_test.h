// The words in which the tests of st's commands and routines are written.
#pragma once

#include <gtest/gtest.h>

#include "answers.h"
#include "call_lines.h"
#include "child.h"
#include "records.h"
#include "runs.h"
#include "table.h"
#include "throw_loop.h"

namespace command_test {

// Records, and the scripts that are made of them.
using support::answers;
using support::channel;
using support::channel_id;
using support::filled;
using support::id_of;
using support::in_status;
using support::now;
using support::now_ms;
using support::pairing;
using support::period;
using support::space;
using support::span_start;
using support::volume;

// Runs.
using support::behaviour_of;
using support::expect_releases_when_any_call_throws;
using support::expect_results_are_not_looked_at;
using support::expect_run;
using support::in_child;
using support::run;
using support::run_case;
using support::run_st;
using support::st_command;
using support::story;
using support::table_run;
using support::temporary_folder;

// The call log.
using support::chain;
using support::channel_text;
using support::dispatched;
using support::dispatched_with_service;
using support::failed_init;
using support::lines;
using support::lines_with;
using support::recycling;
using support::span_lookup;
using support::stream_walk;
using support::volume_channels_question;

}  // namespace command_test
