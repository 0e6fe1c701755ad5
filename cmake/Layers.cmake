# Each layer sees only the source folders of its own and lower layers: we give it an
# include root holding links to just those folders, so `#include "ui/..."` from the
# engine fails to compile instead of waiting for a review. A folder may be a nested
# one ("ui/widgets"): the widget layer is cut the same way, part by part.
function(ochrel_layer_includes layer)
  set(root ${CMAKE_BINARY_DIR}/layer_include/${layer})
  file(MAKE_DIRECTORY ${root})
  foreach(dir ${ARGN})
    if(NOT EXISTS ${root}/${dir})
      get_filename_component(parent ${root}/${dir} DIRECTORY)
      file(MAKE_DIRECTORY ${parent})
      file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${dir} ${root}/${dir} SYMBOLIC)
    endif()
  endforeach()
  set(OCHREL_INCLUDE_${layer} ${root} PARENT_SCOPE)
endfunction()

# One part of the widget layer: a static library of the sources under src/<folder>
# that sees the model and the listed widget folders (its own among them) and links
# the listed parts below it.
function(ochrel_ui_part name folder)
  cmake_parse_arguments(PART "" "" "SEES;LINKS" ${ARGN})
  ochrel_layer_includes(${name} image filters fills files render frame tools ${PART_SEES})
  file(GLOB _src CONFIGURE_DEPENDS src/${folder}/*.cpp src/${folder}/*.h src/${folder}/*.qrc)
  add_library(${name} STATIC ${_src})
  target_include_directories(${name} PUBLIC ${OCHREL_INCLUDE_${name}})
  target_link_libraries(${name} PUBLIC ${PART_LINKS})
endfunction()
