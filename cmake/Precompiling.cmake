# CTR_PRECOMPILE: headers that many sources include are compiled once per target, which saves a third
# of the time of a source. Where it is off, every source has to include what it uses.
option(CTR_PRECOMPILE "Precompile headers that many sources include" OFF)

# ctr_precompile(TARGET [HEADER...]): these, those of the standard library and those of the platform.
function(ctr_precompile target)
  if(CTR_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE
      <algorithm> <array> <cmath> <functional> <limits> <map> <memory> <optional> <string>
      <string_view> <tuple> <utility> <vector>
      <Wm4Foundation.h> <kxSceneGraph/kxIndexBuffer.h> <kxSceneGraph/kxTriMesh.h>
      <kxSceneGraph/kxVertexBuffer.h> ${ARGN})
  endif()
endfunction()
