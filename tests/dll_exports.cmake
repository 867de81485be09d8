# The DLL's export table carries what a Windows host links against, and no
# more: the exported classes (their copy constructors; for Stats, which hosts
# derive from, its vtable and type info too), the two exported statics,
# and none of the library's internal routines.
cmake_minimum_required(VERSION 3.16)
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE table RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} -p ${DLL} failed")
endif()
string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] [^\n]+" entries "${table}")
list(TRANSFORM entries REPLACE "^\n\t\\[ *[0-9]+\\] " "")
list(JOIN entries "\n" mangled)
file(WRITE ${WORK_DIR}/exports.txt "${mangled}\n")
execute_process(COMMAND ${CXXFILT} INPUT_FILE ${WORK_DIR}/exports.txt
  OUTPUT_VARIABLE demangled RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${CXXFILT} failed")
endif()
string(REPLACE "\n" ";" names "${demangled}")

set(expected
  "stattree::Stats::Stats(stattree::StatsRecord*)"
  "vtable for stattree::Stats"
  "typeinfo for stattree::Stats"
  "stattree::Stats::sErrorInfoTable"
  "stattree::TreeNode::sEmptyNodeName[abi:cxx11]"
  "stattree::Variant::Variant(char const*)")
foreach(class StatsDefn CriteriaSet TreeNode NodeResults SubsetResults GroupingResults StatsSet)
  list(APPEND expected "stattree::${class}::${class}(stattree::${class} const&)")
endforeach()
set(unexpected "stattree::TheErrorManager()" "stattree::OutOfMemoryError(int)")

set(failures "")
foreach(name IN LISTS expected)
  if(NOT name IN_LIST names)
    string(APPEND failures "not exported: ${name}\n")
  endif()
endforeach()
foreach(name IN LISTS unexpected)
  if(name IN_LIST names)
    string(APPEND failures "exported, but internal: ${name}\n")
  endif()
endforeach()
if(failures)
  message(FATAL_ERROR "${failures}")
endif()
list(LENGTH names count)
message(STATUS "${count} exports, every expected one among them")
