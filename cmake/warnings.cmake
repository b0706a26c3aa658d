# Warnings and code generation for our own code; link every own target to quinmark::options.
add_library(quinmark_options INTERFACE)
add_library(quinmark::options ALIAS quinmark_options)

target_compile_features(quinmark_options INTERFACE cxx_std_20)
target_compile_definitions(quinmark_options INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX STRICT
    WINVER=0x0601 _WIN32_WINNT=0x0601
    $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(MSVC)
    target_compile_options(quinmark_options INTERFACE /W4 /WX /permissive- /utf-8 /Zc:__cplusplus)
else()
    # SSE arithmetic: two dates compare the same whether they were kept in a register or in memory.
    target_compile_options(quinmark_options INTERFACE
        -Wall -Wextra -Wconversion -Werror -msse2 -mfpmath=sse)
    # Statically linked, so that a binary needs system DLLs only.
    target_link_options(quinmark_options INTERFACE -static)
endif()
