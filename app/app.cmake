target_sources(fmcore PRIVATE
  app/fmglobal.h
  app/fmglobal.cpp
  app/fmsdk.h
  app/fmsdk.cpp
  app/fmpaths.h
  app/fmpaths.cpp
  app/fmlogfile.h
  app/fmlogfile.cpp
  app/fmlog.cpp
  app/fm.h
  app/fm.cpp
)

add_executable(fmHistorydb app/main.cpp)
target_link_libraries(fmHistorydb PRIVATE fmwindow)
set_target_properties(fmHistorydb PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/lx)
