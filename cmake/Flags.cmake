# The flags of all targets of this project.
function(vellumcap_flags target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wformat=2
    -fno-omit-frame-pointer -fstack-protector-strong
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  if(VELLUMCAP_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  target_compile_definitions(${target} PRIVATE
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x060400 QT_WARN_DEPRECATED_UP_TO=0x060400
    VELLUMCAP_VERSION="${PROJECT_VERSION}")
endfunction()

if(VELLUMCAP_SANITIZE)
  # All objects need the same flags, generated ones too. GCC's null-dereference analysis reports
  # false paths through the instrumentation.
  add_compile_options(-fsanitize=${VELLUMCAP_SANITIZE} -fno-sanitize-recover=all -O1 -g1
    -Wno-null-dereference)
  add_compile_definitions(VELLUMCAP_SANITIZED)
  add_link_options(-fsanitize=${VELLUMCAP_SANITIZE})
endif()

find_program(LLD ld.lld)
if(LLD)
  add_link_options(-fuse-ld=lld)
endif()
