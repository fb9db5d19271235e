# Checks of st linked against libraries from outside: PROGRAM, MAIN (its main
# object), NM, LOG (a file that may be overwritten), CASE.

function(run_or_fail out)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output
    ERROR_VARIABLE errors)
  if(NOT status EQUAL 0 OR output STREQUAL "")
    message(FATAL_ERROR "${ARGN}: status ${status}\n${output}${errors}")
  endif()
  set(${out} "${output}" PARENT_SCOPE)
endfunction()

function(expect_equal actual expected)
  if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\ngot:\n${actual}")
  endif()
endfunction()

foreach(name IN ITEMS DU_BLOCK_SIZE BLOCK_SIZE BLOCKSIZE POSIXLY_CORRECT STLAB_RECORDER STLAB_TRACE
        SCRIPTED_THROW)
  unset(ENV{${name}})
endforeach()
file(REMOVE "${LOG}")
set(ENV{SCRIPTED_LOG} "${LOG}")

set(space_list "Space count: 1
[01] [Storage1], total size: 1863 GB, used: 1000000 MB, use 52.42% [Normal                   ]

")

set(obtained "CKivStorage#1()
CKivStorageDaemon#1()
nstrcpy(spacelist, 128)
CKivStorage#1.create_storage_setting(null) = storage_setting
setting.get_space_list()")
set(released "~CKivStorageDaemon#1
~CKivStorage#1
")

# Runs spacelist with that operation throwing, which nobody catches.
function(run_throwing operation expected_output expected_calls)
  file(REMOVE "${LOG}")
  set(ENV{SCRIPTED_THROW} ${operation})
  execute_process(COMMAND "${PROGRAM}" spacelist RESULT_VARIABLE status OUTPUT_VARIABLE output
    ERROR_QUIET)
  if(status EQUAL 0)
    message(FATAL_ERROR "an exception that nobody catches ended with status 0")
  endif()
  expect_equal("${output}" "${expected_output}")
  file(READ "${LOG}" calls)
  expect_equal("${calls}" "${expected_calls}")
endfunction()

if(CASE STREQUAL "output")
  run_or_fail(output "${PROGRAM}" spacelist)
  expect_equal("${output}" "${space_list}")
  file(READ "${LOG}" calls)
  expect_equal("${calls}" "${obtained}
CKivStorage#1.destroy_storage_setting(storage_setting)
${released}")

elseif(CASE STREQUAL "throw")
  # The frame unwinds all the same, and what was printed before is not lost.
  run_throwing(get_space_list "" "${obtained} throws\n${released}")
  run_throwing(destroy_storage_setting "${space_list}" "${obtained}
CKivStorage#1.destroy_storage_setting(storage_setting) throws
${released}")

elseif(CASE STREQUAL "libraries")
  run_or_fail(libraries ldd "${PROGRAM}")
  foreach(wanted IN ITEMS libscripted_service.so libscripted_system_utility.so libscripted_logging.so)
    string(FIND "${libraries}" "${wanted} =>" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "${wanted} is not among its libraries:\n${libraries}")
    endif()
  endforeach()
  foreach(unwanted IN ITEMS "sqlite" "lab_client" "not found")
    if(libraries MATCHES "${unwanted}")
      message(FATAL_ERROR "\"${unwanted}\" among its libraries:\n${libraries}")
    endif()
  endforeach()

elseif(CASE STREQUAL "symbols")
  run_or_fail(symbols "${NM}" --demangle "${PROGRAM}")
  # What comes from outside is wanted, not brought.
  foreach(wanted IN ITEMS "U CKivStorage::create_storage_setting" "U nstrcpy" "U log_Debug"
          "T st::run" "T main")
    string(FIND "${symbols}" " ${wanted}" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "no \"${wanted}\" among its symbols")
    endif()
  endforeach()
  foreach(unwanted IN ITEMS " lab::" " sqlite3_" " scripted::")
    string(FIND "${symbols}" "${unwanted}" found)
    if(NOT found EQUAL -1)
      message(FATAL_ERROR "\"${unwanted}\" among its symbols")
    endif()
  endforeach()
  run_or_fail(main_symbols "${NM}" --demangle "${MAIN}")
  string(FIND "${main_symbols}" "U st::run" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "main does more than hand over:\n${main_symbols}")
  endif()

else()
  message(FATAL_ERROR "no such case: ${CASE}")
endif()
