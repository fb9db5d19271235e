# Fails unless FILE has the SHA-256 sum SUM.
file(SHA256 "${FILE}" actual)
if(NOT actual STREQUAL SUM)
  message(FATAL_ERROR "${FILE} has the sum ${actual}, not ${SUM}")
endif()
