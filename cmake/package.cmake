# The target "package": an MSI and a zip with everything that goes onto a machine, at the top of the build folder. The
# install rules of the component "product" name its contents.
set(PACKAGE_NAME "QuinmarkRepDLL-${PROJECT_VERSION}")

# program_manifest(PROGRAM FOLDER): a manifest below the build folder, by which the program finds the DLL beside it.
function(program_manifest program folder)
    set(PROGRAM "${program}")
    configure_file("${PROJECT_SOURCE_DIR}/packaging/program.exe.manifest.in"
        "${CMAKE_BINARY_DIR}/${folder}/${program}.exe.manifest" @ONLY)
endfunction()

install(TARGETS QuinmarkRepDLL RUNTIME DESTINATION . COMPONENT product)
install(TARGETS quinrep RUNTIME DESTINATION . COMPONENT product)
program_manifest(quinrep package)
install(FILES
    "${CMAKE_BINARY_DIR}/package/quinrep.exe.manifest"
    "${CMAKE_BINARY_DIR}/QuinmarkRepDLL.tlb"
    README.md CHANGELOG.md packaging/console.cmd
    DESTINATION . COMPONENT product)
install(DIRECTORY docs DESTINATION . COMPONENT product)
install(FILES host/quinrep.schema.json DESTINATION host COMPONENT product)
install(DIRECTORY database/sqlserver DESTINATION database COMPONENT product)
install(FILES database/README.md DESTINATION database COMPONENT product)
install(DIRECTORY examples DESTINATION . COMPONENT product PATTERN demo EXCLUDE)
install(FILES "${CMAKE_BINARY_DIR}/src/typelib/QuinmarkRepDLL.idl" DESTINATION examples/cpp COMPONENT product)

# One Interface entry for each interface of the type library, as its registration writes them. Brackets and semicolons
# mean something in a CMake list, so they go first.
function(interface_entries result)
    file(READ "${PROJECT_SOURCE_DIR}/src/typelib/QuinmarkRepDLL.idl.in" idl)
    string(REGEX REPLACE "[][;]" " " idl "${idl}")
    string(REGEX MATCHALL
        "uuid\\([0-9A-F-]+\\),[ \n]*helpstring\\(\"[^\"]*\"\\)[ \n]*interface _[A-Za-z]+" found "${idl}")
    set(entries "")
    foreach(declaration ${found})
        string(REGEX REPLACE "^uuid\\(([0-9A-F-]+)\\).* (_[A-Za-z]+)$" "\\1;\\2" parts "${declaration}")
        list(GET parts 0 id)
        list(GET parts 1 name)
        set(begin "        <RegistryValue Root=\"HKCR\" Key=\"Interface\\{${id}}")
        set(text "Type=\"string\" Value=")
        string(APPEND entries
            "${begin}\" ${text}\"${name}\"/>\n"
            "${begin}\\ProxyStubClsid\" ${text}\"${automation}\"/>\n"
            "${begin}\\ProxyStubClsid32\" ${text}\"${automation}\"/>\n"
            "${begin}\\TypeLib\" ${text}\"${library}\"/>\n"
            "${begin}\\TypeLib\" Name=\"Version\" ${text}\"${version}\"/>\n")
    endforeach()
    if(NOT entries)
        message(FATAL_ERROR "No interface found in the type library's source")
    endif()
    set(${result} "${entries}" PARENT_SCOPE)
endfunction()

# The registry has the type library's version in hexadecimal digits.
function(hexadecimal number result)
    math(EXPR text "${number}" OUTPUT_FORMAT HEXADECIMAL)
    string(REPLACE "0x" "" text "${text}")
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

block()
    hexadecimal("${PROJECT_VERSION_MAJOR}" major)
    hexadecimal("${PROJECT_VERSION_MINOR}" minor)
    set(version "${major}.${minor}")
    set(library "{9B1D537E-7D6C-4723-8D46-F708D8D5F33C}")
    set(class "{79586827-05E1-4F56-8EB0-EA73BFA5E163}")
    set(automation "{00020424-0000-0000-C000-000000000046}")
    interface_entries(INTERFACE_ENTRIES)
    configure_file(packaging/QuinmarkRepDLL.wxs.in "${CMAKE_BINARY_DIR}/package/QuinmarkRepDLL.wxs" @ONLY)
endblock()

find_program(WIXL wixl)
find_program(WIXL_HEAT wixl-heat)
find_program(MSIBUILD msibuild)
find_program(PYTHON3 python3 PATHS /usr/bin NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
add_custom_target(package
    COMMAND "${CMAKE_COMMAND}"
        "-DBUILD=${CMAKE_BINARY_DIR}" "-DNAME=${PACKAGE_NAME}" "-DWIXL=${WIXL}" "-DWIXL_HEAT=${WIXL_HEAT}"
        "-DMSIBUILD=${MSIBUILD}" "-DPYTHON3=${PYTHON3}"
        -P "${PROJECT_SOURCE_DIR}/packaging/make_package.cmake"
    COMMENT "Packing ${PACKAGE_NAME}" VERBATIM)
add_dependencies(package QuinmarkRepDLL quinrep)
