# Brotli::decoder: the library's static form where there is one. As two more shared libraries it would cost every process
# its loading, for one kind of picture.
find_path(BROTLI_INCLUDE_DIR brotli/decode.h REQUIRED)
find_library(BROTLI_DECODER_LIBRARY NAMES libbrotlidec.a brotlidec REQUIRED)
find_library(BROTLI_COMMON_LIBRARY NAMES libbrotlicommon.a brotlicommon REQUIRED)
mark_as_advanced(BROTLI_INCLUDE_DIR BROTLI_DECODER_LIBRARY BROTLI_COMMON_LIBRARY)

add_library(Brotli::decoder INTERFACE IMPORTED)
target_include_directories(Brotli::decoder INTERFACE "${BROTLI_INCLUDE_DIR}")
target_link_libraries(Brotli::decoder INTERFACE "${BROTLI_DECODER_LIBRARY}" "${BROTLI_COMMON_LIBRARY}")
