# The README shows the host example verbatim; fail when the two drift apart.
file(READ "${README}" readme)
file(READ "${EXAMPLE}" example)
string(FIND "${readme}" "${example}" found)
if(found EQUAL -1)
  message(FATAL_ERROR "README.md no longer holds examples/host_example/main.cc verbatim")
endif()
