# Warnings, hardening, sanitizers and coverage for every target of the tree.

add_compile_options(
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2
    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wundef -Wunused)
if(ZOR_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Finds overlaps of 8 EiB in std::string of the standard library itself.
    add_compile_options(-Wno-restrict)
endif()

# Where registers hold more digits than a double, as on i386, what is stored in one is rounded to one
# all the same: a size that is cut to a whole number would else be a pixel off.
include(CheckCXXSourceCompiles)
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

if(ZOR_SANITIZE)
    add_compile_options(-fsanitize=${ZOR_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${ZOR_SANITIZE})
else()
    add_compile_options(-fstack-protector-strong)
    # Fortification needs the optimiser.
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
                        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
endif()
add_link_options(-Wl,-z,relro,-z,now -Wl,-z,noexecstack -Wl,--as-needed)

if(ZOR_COVERAGE)
    add_compile_options(--coverage -O0 -g)
    add_link_options(--coverage)
endif()
