# st built against libraries from outside (ST_CLIENT_LIBRARY=external) and put
# into a folder of its own, WORK/recorder, beside them:
#
#   bin/st   lib/libclient.so   lib/more/libinner.so
#
# libclient.so is all that the build is told of. CASE "links" makes it, the other
# cases look at it. SOURCE is the tree; INNER, CLIENT and their _LACKING twins
# are the libraries; GENERATOR, COMPILER, LAUNCHER, BUILD_TYPE, SANITIZE and NM
# are those of the build that tests.

set(recorder "${WORK}/recorder")
foreach(name IN ITEMS LD_LIBRARY_PATH LD_BIND_NOW LD_PRELOAD DESTDIR)
  unset(ENV{${name}})
endforeach()

function(run_or_fail)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}: status ${status}\n${output}")
  endif()
endfunction()

# Runs the st of that recorder in a folder of its own that has the volume.
# OUTSIDE_LOG is the new file that gets its calls.
function(run_st in)
  set(room "${WORK}/${CASE}")
  file(MAKE_DIRECTORY "${room}/share/vol1/FSU_vvvvvvvvvvvvvvvvvvvvvvvvvvvvvvvv/preallocate")
  set(ENV{OUTSIDE_LOG} "${room}/calls")
  execute_process(COMMAND "${in}/bin/st" ${ARGN} WORKING_DIRECTORY "${room}"
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  set(status "${status}" PARENT_SCOPE)
  set(output "${output}" PARENT_SCOPE)
  set(errors "${errors}" PARENT_SCOPE)
  set(calls_file "${room}/calls" PARENT_SCOPE)
endfunction()

# A function is missing: st ends, says which, and nothing was called before.
function(expect_nothing_done in symbol)
  run_st("${in}" volclean 0)
  if(status EQUAL 0 OR NOT output STREQUAL "" OR EXISTS "${calls_file}")
    message(FATAL_ERROR "it ran, status ${status}:\n${output}${errors}")
  endif()
  string(FIND "${errors}" "${symbol}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "not for the want of ${symbol}:\n${errors}")
  endif()
endfunction()

function(copy_of_recorder with in)
  file(COPY "${recorder}/" DESTINATION "${WORK}/${CASE}/recorder")
  file(COPY_FILE "${with}" "${WORK}/${CASE}/recorder/${in}")
endfunction()

if(NOT CASE STREQUAL "links")
  file(REMOVE_RECURSE "${WORK}/${CASE}")
endif()

if(CASE STREQUAL "links")
  file(REMOVE_RECURSE "${WORK}")
  file(COPY "${CLIENT}" DESTINATION "${recorder}/lib")
  file(COPY "${INNER}" DESTINATION "${recorder}/lib/more")
  run_or_fail("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}/build" -G "${GENERATOR}"
    "-DCMAKE_CXX_COMPILER=${COMPILER}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}"
    "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}" "-DST_SANITIZE=${SANITIZE}"
    -DST_CLIENT_LIBRARY=external "-DST_EXTERNAL_LIBRARIES=${recorder}/lib/libclient.so"
    "-DST_INSTALL_RPATH=$ORIGIN/../lib\;$ORIGIN/../lib/more")
  run_or_fail("${CMAKE_COMMAND}" --build "${WORK}/build" --parallel 2)
  run_or_fail("${CMAKE_COMMAND}" --install "${WORK}/build" --prefix "${recorder}")

elseif(CASE STREQUAL "routines")
  execute_process(COMMAND "${NM}" --demangle "${recorder}/bin/st"
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  foreach(wanted IN ITEMS "T st::list_space_channels(" "T st::find_hour_folder_volume(")
    string(FIND "${symbols}" " ${wanted}" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "no \"${wanted}\" among its symbols")
    endif()
  endforeach()

elseif(CASE STREQUAL "commands")
  set(session "")
  foreach(line IN ITEMS "spacelist" "vollist Storage1" "volset vol1 1 1" "volchn vol1" "voluse 0"
          "volclean 0" "autoclean" "nullid 0" "recoverid 0" "spaceinfo Storage1")
    separate_arguments(words UNIX_COMMAND "${line}")
    run_st("${recorder}" ${words})
    if(NOT status EQUAL 0 OR NOT errors STREQUAL "")
      message(FATAL_ERROR "st ${line}: status ${status}\n${output}${errors}")
    endif()
    string(APPEND session "$ st ${line}\n${output}")
  endforeach()
  file(READ "${CMAKE_CURRENT_LIST_DIR}/commands.txt" expected)
  if(NOT session STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\ngot:\n${session}")
  endif()
  # All that a command reaches was there.
  file(STRINGS "${calls_file}" calls)
  list(REMOVE_DUPLICATES calls)
  list(SORT calls)
  file(STRINGS "${CMAKE_CURRENT_LIST_DIR}/calls.txt" expected_calls)
  if(NOT calls STREQUAL expected_calls)
    message(FATAL_ERROR "expected the calls:\n${expected_calls}\ngot:\n${calls}")
  endif()

elseif(CASE STREQUAL "missing_in_client")
  # st itself needs it, though no command calls it.
  copy_of_recorder("${CLIENT_LACKING}" lib/libclient.so)
  expect_nothing_done("${WORK}/${CASE}/recorder" make_hour_folder_full_path)

elseif(CASE STREQUAL "missing_in_inner")
  # A library needs it: the loader has to be told to look for all of it.
  copy_of_recorder("${INNER_LACKING}" lib/more/libinner.so)
  set(ENV{LD_BIND_NOW} 1)
  expect_nothing_done("${WORK}/${CASE}/recorder" prepare_recycling)

else()
  message(FATAL_ERROR "no such case: ${CASE}")
endif()
