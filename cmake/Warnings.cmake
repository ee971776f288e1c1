# The warnings that all code of the project compiles without, public headers included.
set(PYXCORE_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion CACHE INTERNAL "")
option(PYXCORE_WARNINGS_AS_ERRORS "Fail on warnings" OFF)

function(pyxcore_enable_warnings target)
    target_compile_options(${target} PRIVATE ${PYXCORE_WARNINGS} $<$<BOOL:${PYXCORE_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
