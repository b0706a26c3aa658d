# cmake -DBUILD=... -DNAME=... -DWIXL=... -DWIXL_HEAT=... -DMSIBUILD=... -DPYTHON3=... -P make_package.cmake
# Collects the installed files below BUILD/package and makes BUILD/NAME.zip and BUILD/NAME.msi of them.
cmake_minimum_required(VERSION 3.25)

foreach(tool WIXL WIXL_HEAT MSIBUILD PYTHON3)
    if(NOT ${tool})
        message(FATAL_ERROR "${tool}: the program is missing; run scripts/install-deps.sh")
    endif()
endforeach()

set(COMPONENT product)
set(DOCUMENTS "${CMAKE_CURRENT_LIST_DIR}/documents.py")
include("${CMAKE_CURRENT_LIST_DIR}/pack.cmake")

file(REMOVE "${BUILD}/${NAME}.msi")
file(GLOB_RECURSE files RELATIVE "${work}" "${work}/${NAME}/*")
list(JOIN files "\n" list)
file(WRITE "${work}/files.txt" "${list}\n")
execute_process(
    COMMAND "${WIXL_HEAT}" -p "${NAME}/" --directory-ref INSTALLDIR --component-group Files --var var.Stage
    INPUT_FILE "${work}/files.txt" OUTPUT_FILE "${work}/files.wxs"
    WORKING_DIRECTORY "${work}" COMMAND_ERROR_IS_FATAL ANY)
# wixl does not find files by an absolute path.
execute_process(
    COMMAND "${WIXL}" -D "Stage=${NAME}" -o "${BUILD}/${NAME}.msi" QuinmarkRepDLL.wxs files.wxs
    WORKING_DIRECTORY "${work}" COMMAND_ERROR_IS_FATAL ANY)
# quinrep's folder at the end of the machine's PATH, for as long as the feature is installed.
execute_process(
    COMMAND "${MSIBUILD}" "${BUILD}/${NAME}.msi" -q
        "CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, `Name` CHAR(255) NOT NULL LOCALIZABLE, \
`Value` CHAR(255) LOCALIZABLE, `Component_` CHAR(72) NOT NULL PRIMARY KEY `Environment`)"
        "INSERT INTO `Environment` (`Environment`, `Name`, `Value`, `Component_`) \
VALUES ('Path', '=-*PATH', '[~];[INSTALLDIR]', 'Path')"
    COMMAND_ERROR_IS_FATAL ANY)
