# cmake -DBUILD=... -DNAME=... -DCOMPONENT=... -P pack.cmake
# Collects the installed files of COMPONENT below BUILD/package/NAME and makes BUILD/NAME.zip of them. Where the script
# DOCUMENTS is set, it makes pages of the documents.
cmake_minimum_required(VERSION 3.25)

set(work "${BUILD}/package")
file(REMOVE_RECURSE "${work}/${NAME}")
execute_process(
    COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${work}/${NAME}" --component ${COMPONENT} --strip
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
if(DOCUMENTS)
    execute_process(COMMAND "${PYTHON3}" "${DOCUMENTS}" "${work}/${NAME}" COMMAND_ERROR_IS_FATAL ANY)
endif()

file(REMOVE "${BUILD}/${NAME}.zip")
execute_process(
    COMMAND "${CMAKE_COMMAND}" -E tar cf "${BUILD}/${NAME}.zip" --format=zip "${NAME}"
    WORKING_DIRECTORY "${work}" COMMAND_ERROR_IS_FATAL ANY)
