# Everything the library links, gathered behind one interface target.
find_package(Boost REQUIRED COMPONENTS system thread chrono)
find_package(cpprestsdk REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(UUID REQUIRED IMPORTED_TARGET uuid)
pkg_check_modules(DNSSD REQUIRED IMPORTED_TARGET avahi-compat-libdns_sd)

add_library(velora_deps INTERFACE)
add_library(velora::deps ALIAS velora_deps)
# cpprestsdk 2.10 leaves libcrypto out of its link interface.
target_link_libraries(velora_deps INTERFACE
  cpprestsdk::cpprest OpenSSL::Crypto OpenSSL::SSL Boost::system Boost::thread Boost::chrono
  ZLIB::ZLIB PkgConfig::UUID PkgConfig::DNSSD Threads::Threads)
