# Writes the page's files into a source file: -DFILES=... -DOUT=...
set(types "html=text/html" "css=text/css" "js=text/javascript" "svg=image/svg+xml")

set(arrays "")
set(rows "")
set(number 0)
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME)
  get_filename_component(ending ${file} LAST_EXT)
  string(REPLACE "." "" ending ${ending})
  string(REGEX MATCH "${ending}=([^;]+)" type "${types}")
  set(type "${CMAKE_MATCH_1}; charset=utf-8")
  set(path "/picture/${name}")
  if(name STREQUAL "index.html")
    set(path "/")
  endif()
  file(READ ${file} bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char kFile${number}[] = {${bytes}};\n")
  string(APPEND rows "    {\"${path}\", \"${type}\", {kFile${number}, sizeof kFile${number}}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE ${OUT} "// Made from the files in cim/picture/page.
#include \"cim/picture/Assets.h\"

namespace cim::picture {

namespace {

${arrays}
constexpr Asset kAssets[] = {
${rows}};

} // namespace

const Asset *FindAsset(std::string_view path) {
    for (const auto &asset : kAssets) {
        if (asset.path == path) return &asset;
    }
    return nullptr;
}

} // namespace cim::picture
")
