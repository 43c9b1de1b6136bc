add_executable(bench_recognition
  bench_recognition.cpp CharacterErrors.cpp frames/SampleFrames.cpp frames/SampleText.cpp)
target_include_directories(bench_recognition PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
target_link_libraries(bench_recognition PRIVATE
  lumivane_screen lumivane_platform_linux lumivane_flags)
