# ctr_harden(TARGET...): what is packaged is compiled and linked with the hardening flags of Debian 12,
# those of `DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags`: the stack is checked on return,
# calls of the C library are checked against the size of their buffers, and what the loader has
# relocated cannot be written afterwards. None of them changes arithmetic. Of a program that others
# build the library into, flags are their decision; sanitizers do such checks themselves.
option(CTR_HARDEN "Build the library and the tool with hardening flags" ${PROJECT_IS_TOP_LEVEL})

if(CTR_HARDEN)
  # Programs are position-independent whatever the compiler does by itself.
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()

function(ctr_harden)
  if(NOT CTR_HARDEN OR CTR_SANITIZE)
    return()
  endif()
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE
      -fstack-protector-strong -Wformat -Werror=format-security
      # Needs optimisation. A level that the compiler has by itself would be defined twice.
      "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    get_target_property(type ${target} TYPE)
    if(NOT type MATCHES "^(OBJECT|STATIC)_LIBRARY$")
      target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
    endif()
  endforeach()
endfunction()
