# libpacparser, which brings no package description of its own: PacParser_FOUND and the target PacParser::PacParser.
find_path(PacParser_INCLUDE_DIR pacparser.h)
find_library(PacParser_LIBRARY pacparser)
mark_as_advanced(PacParser_INCLUDE_DIR PacParser_LIBRARY)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PacParser DEFAULT_MSG PacParser_LIBRARY PacParser_INCLUDE_DIR)
if(PacParser_FOUND AND NOT TARGET PacParser::PacParser)
  add_library(PacParser::PacParser UNKNOWN IMPORTED)
  set_target_properties(PacParser::PacParser PROPERTIES IMPORTED_LOCATION ${PacParser_LIBRARY}
                        INTERFACE_INCLUDE_DIRECTORIES ${PacParser_INCLUDE_DIR})
endif()
