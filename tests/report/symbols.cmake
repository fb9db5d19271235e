# st-report only asks: neither its own objects nor what of st is linked with them names
# what recycles. PROGRAM, LIBRARY (report_core) and NM.

function(expect_none file)
  execute_process(COMMAND "${NM}" --demangle ${ARGN} "${file}"
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(FIND "${symbols}" "st::measure_preallocate_remain" seen)
  if(seen EQUAL -1)
    message(FATAL_ERROR "${file} does not name the probe: these are not its symbols")
  endif()
  foreach(unwanted IN ITEMS CFSTier CFSUnit st::recycle_volume_units st::cmd_)
    string(REGEX MATCH "[^\n]*${unwanted}[^\n]*" found "${symbols}")
    if(found)
      message(FATAL_ERROR "${file} names ${unwanted}: ${found}")
    endif()
  endforeach()
endfunction()

expect_none("${LIBRARY}" --undefined-only)
expect_none("${PROGRAM}")
