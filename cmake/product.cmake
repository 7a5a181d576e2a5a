# The shared library. Its objects are a library of their own, so that unit
# tests link the very objects that ship.
set(PRODUCT_FOLDERS runtime usb devcmd video audio firmware control control/properties camera)
set(PRODUCT_SOURCES)
foreach(folder IN LISTS PRODUCT_FOLDERS)
    file(GLOB folder_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND PRODUCT_SOURCES ${folder_sources})
endforeach()

add_library(torvik_objects OBJECT ${PRODUCT_SOURCES})
target_include_directories(torvik_objects PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
# Only libusb's header: which libusb answers is the business of what links the
# objects, the real one or a stand-in.
target_include_directories(torvik_objects SYSTEM PUBLIC ${LIBUSB_INCLUDE_DIRS})
# C libraries of old keep dladdr in a library beside them.
target_link_libraries(torvik_objects PUBLIC torvik_identities Threads::Threads ${CMAKE_DL_LIBS}
                                     PRIVATE torvik_warnings)

add_library(torvik_camera SHARED)
target_link_libraries(torvik_camera PRIVATE torvik_objects PkgConfig::LIBUSB)
target_link_options(torvik_camera PRIVATE
    -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/cmake/exports.map
    -Wl,--as-needed)
if(NOT TORVIK_SANITIZE)
    target_link_options(torvik_camera PRIVATE -Wl,--no-undefined)
endif()
set_target_properties(torvik_camera PROPERTIES
    LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/exports.map
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
install(TARGETS torvik_camera LIBRARY DESTINATION lib)
install(DIRECTORY api DESTINATION include/torvik FILES_MATCHING PATTERN "*.h")
# What a host needs to start the worker with a stored still, and to choose
# between the firmware images.
install(FILES camera/dummy_still_capture.h DESTINATION include/torvik/camera)
install(FILES firmware/firmware_loader.h DESTINATION include/torvik/firmware)
install(FILES runtime/mutex.h runtime/thread.h runtime/thread_annotations.h DESTINATION include/torvik/runtime)
