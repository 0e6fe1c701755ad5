# Each layer sees only the source folders of its own and lower layers: we give it an
# include root holding links to just those folders, so `#include "ui/..."` from the
# engine fails to compile instead of waiting for a review.
function(ochrel_layer_includes layer)
  set(root ${CMAKE_BINARY_DIR}/layer_include/${layer})
  file(MAKE_DIRECTORY ${root})
  foreach(dir ${ARGN})
    if(NOT EXISTS ${root}/${dir})
      file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${dir} ${root}/${dir} SYMBOLIC)
    endif()
  endforeach()
  set(OCHREL_INCLUDE_${layer} ${root} PARENT_SCOPE)
endfunction()
