# add_type_library(NAME IDL): compiles IDL into NAME.tlb (build root), NAME.h and NAME_i.c (current binary folder), and
# gathers them in the target NAME_typelib. The base definitions come from Wine's development package, unpacked below
# build/ by scripts/install-deps.sh.
find_program(WIDL NAMES i686-w64-mingw32-widl REQUIRED)
find_path(WINE_IDL_DIR oaidl.idl
    PATHS "${PROJECT_SOURCE_DIR}/build/libwine-dev/usr/include/wine/wine/windows" /usr/include/wine/wine/windows
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_path(STDOLE_DIR stdole2.tlb
    PATHS /usr/lib/i386-linux-gnu/wine/i386-windows
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)

function(add_type_library name idl)
    set(out "${CMAKE_CURRENT_BINARY_DIR}")
    set(tlb "${CMAKE_BINARY_DIR}/${name}.tlb")
    set(common -I "${WINE_IDL_DIR}" -L "${STDOLE_DIR}" --win32)
    add_custom_command(
        OUTPUT "${tlb}" "${out}/${name}.h" "${out}/${name}_i.c"
        COMMAND "${WIDL}" ${common} -D TYPE_LIBRARY -t -o "${tlb}" "${idl}"
        COMMAND "${WIDL}" ${common} -h -o "${out}/${name}.h" "${idl}"
        COMMAND "${WIDL}" ${common} -u -o "${out}/${name}_i.c" "${idl}"
        DEPENDS "${idl}" VERBATIM)
    add_custom_target(${name}_typelib DEPENDS "${tlb}" "${out}/${name}.h" "${out}/${name}_i.c")
endfunction()
