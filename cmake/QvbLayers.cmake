# qvb_check_layers(<target>...): the project's libraries, lowest layer first. Configuring
# fails when one of them links (directly, privately or publicly) a library of its own
# layer or above, so a circle between the libraries cannot come back unnoticed.
function(qvb_check_layers)
  set(below "")
  foreach(target ${ARGN})
    get_target_property(links ${target} LINK_LIBRARIES)
    get_target_property(interface ${target} INTERFACE_LINK_LIBRARIES)
    foreach(link ${links} ${interface})
      # Private links of static libraries reach the interface as $<LINK_ONLY:...>.
      string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" link "${link}")
      if(link MATCHES "^qvb_" AND NOT link IN_LIST below)
        message(FATAL_ERROR "${target} links ${link}, which is not in a layer below it")
      endif()
    endforeach()
    list(APPEND below ${target})
  endforeach()
endfunction()
