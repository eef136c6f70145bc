# The headers of the Java Native Interface, from the installation that javac belongs to. Nothing
# links a virtual machine.
find_package(Java 17 REQUIRED COMPONENTS Development)
get_filename_component(java_bin "${Java_JAVAC_EXECUTABLE}" REALPATH)
get_filename_component(java_home "${java_bin}/../.." ABSOLUTE)
add_library(jni_headers INTERFACE)
target_include_directories(jni_headers SYSTEM INTERFACE
  "${java_home}/include" "${java_home}/include/linux")
