# What ctest leaves out where programs run in an emulator.
set(CTEST_CUSTOM_TESTS_IGNORE
  # These look into programs with this machine's own tools.
  outside_libraries.output
  outside_libraries.throw
  outside_libraries.libraries
  outside_libraries.symbols
  # The emulator reports that a program has been started before it looks for it.
  contract_lab_test.contract_test.a_program_s_output_is_read_from_a_stream
  lab_client.programs.no_descriptor_stays_open
  lab_client.programs.a_missing_or_unfit_program_gives_no_stream
  # A minute of SQLite's own steps.
  lab_engine_tests.sqlite.a_statement_may_run_as_often_as_wanted
  lab_engine_tests.sqlite.no_statement_works_without_end
  # These look at the models and loops that the tests use.
  lab_faults.faults.are_what_breaks_a_recycling_that_frees_first
  lab_faults.faults.are_what_breaks_a_recycling_that_moves_first
  lab_faults.power_loss_model.catches_a_recording_that_leaves_out_a_sync
  lab_faults.power_loss_model.catches_a_recycling_that_leaves_out_a_sync
  lab_faults.power_loss_model.catches_a_recycling_in_the_wrong_order
  # Dozens of runs each: the recorders that lie in one way each stay.
  hostile.by_seed/hostile_recorders.do_no_harm/0
  hostile.by_seed/hostile_recorders.do_no_harm/1
  hostile.by_seed/hostile_recorders.do_no_harm/2
  hostile.by_seed/hostile_recorders.do_no_harm/3
  hostile.by_seed/hostile_recorders.do_no_harm/4
  # Hundreds of runs, each from a stop at another step: minutes. The loops over
  # recycling through the unit and over setting volumes stay.
  corpus.stopped_repair.is_finished_by_the_next_one
  corpus.stopped_repair.that_gives_up_is_finished_by_the_next_one
  lab_faults.faults.in_making_a_recorder
  lab_faults.faults.in_recording
  lab_faults.faults.in_recording_two_hours_at_once
  lab_faults.faults.in_recycling_through_the_tier
  lab_faults.faults.in_recycling_without_the_journal
  lab_faults.faults.in_retention
  lab_faults.programs.finish_later_what_a_kill_at_any_point_cut_short
  lab_faults.programs.finish_on_a_full_disk_what_a_kill_at_any_point_cut_short)
