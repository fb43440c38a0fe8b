# Each folder of the house is one static library. add_room() names what a room uses, for the order of linking; that
# it includes nothing else is a test's matter (tests/files/test_rooms.py), since all of src/ is in the search path.

add_library(relay_hub_flags INTERFACE)
target_compile_options(relay_hub_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${RELAY_HUB_WERROR}>:-Werror>
  # Diagnostics name sources relative to the build folder.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}=..)
target_compile_definitions(relay_hub_flags INTERFACE _FILE_OFFSET_BITS=64)
target_link_libraries(relay_hub_flags INTERFACE Threads::Threads)
target_link_options(relay_hub_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:LINKER:-z,relro,-z,now>)
if(RELAY_HUB_SANITIZE)
  target_compile_options(relay_hub_flags INTERFACE
    -fsanitize=${RELAY_HUB_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(relay_hub_flags INTERFACE -fsanitize=${RELAY_HUB_SANITIZE})
endif()

# add_room(name DIR dir SEES rooms and libraries...)
function(add_room name)
  cmake_parse_arguments(ROOM "" "DIR" "SEES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${ROOM_DIR}/*.cpp ${ROOM_DIR}/dialogs/*.cpp)
  add_library(${name} STATIC ${sources})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ROOM_SEES} PRIVATE relay_hub_flags)
endfunction()
