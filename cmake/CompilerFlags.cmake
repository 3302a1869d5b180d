# Warnings, the least versions of GLib and GTK, hardening, sanitizers and coverage.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# ---- For each target of ours: zor_build_flags ---------------------------------------------------

add_library(zor_build_flags INTERFACE)
target_compile_options(zor_build_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2
    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wundef -Wunused
    $<$<BOOL:${ZOR_WARNINGS_AS_ERRORS}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(zor_build_flags INTERFACE
        -Wduplicated-cond -Wlogical-op -Wnull-dereference
        # Finds overlaps of 8 EiB in std::string of the standard library itself.
        -Wno-restrict)
endif()
# What is newer than these versions, which the build asks for, is a warning. Of what GDK 3.22
# deprecated, the program needs the size of the screen in pixels.
target_compile_definitions(zor_build_flags INTERFACE
    GLIB_VERSION_MIN_REQUIRED=GLIB_VERSION_2_66 GLIB_VERSION_MAX_ALLOWED=GLIB_VERSION_2_66
    GDK_VERSION_MIN_REQUIRED=GDK_VERSION_3_20 GDK_VERSION_MAX_ALLOWED=GDK_VERSION_3_24)

# ---- For everything that is compiled ------------------------------------------------------------

# Where registers hold more digits than a double, as on i386, what is stored in one is rounded to one
# all the same: a size that is cut to a whole number would else be a pixel off.
check_cxx_source_compiles("
    #include <cfloat>
    static_assert(FLT_EVAL_METHOD == 2);
    int main() {}" ZOR_HAS_WIDE_REGISTERS)
if(ZOR_HAS_WIDE_REGISTERS)
    add_compile_options(-ffloat-store)
endif()

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# zor_add_flag_where_known(VARIABLE FLAG): not every compiler and processor has it.
function(zor_add_flag_where_known variable flag)
    check_cxx_compiler_flag("-Werror ${flag}" ${variable})
    if(${variable})
        add_compile_options(${flag})
    endif()
endfunction()

if(ZOR_SANITIZE)
    add_compile_options(-fsanitize=${ZOR_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${ZOR_SANITIZE})
    # The sanitizers' settings are part of each program, however it is started.
    add_library(zor_sanitizer_settings OBJECT ${CMAKE_CURRENT_LIST_DIR}/sanitizer_settings.cpp)
    target_link_libraries(zor_build_flags INTERFACE
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:zor_sanitizer_settings>>)
else()
    add_compile_options(-fstack-protector-strong)
    zor_add_flag_where_known(ZOR_HAS_STACK_CLASH_PROTECTION -fstack-clash-protection)
    zor_add_flag_where_known(ZOR_HAS_CF_PROTECTION -fcf-protection)
    # Level 3 also checks sizes that are known only at run time.
    check_cxx_source_compiles("
        #if !__has_builtin(__builtin_dynamic_object_size)
        #error
        #endif
        int main() {}" ZOR_HAS_FORTIFY_3)
    set(fortify $<IF:$<BOOL:${ZOR_HAS_FORTIFY_3}>,3,2>)
    # Fortification needs the optimiser.
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
                        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=${fortify}>)
endif()
add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
add_link_options(-Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

if(ZOR_COVERAGE)
    add_compile_options(--coverage -O0 -g)
    add_link_options(--coverage)
endif()
