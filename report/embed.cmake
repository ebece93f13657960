# cmake -DOUT=FILE.cpp -DNAMES=a;b -DFILES=FILE;FILE -P embed.cmake: a source that holds files as texts. A file
# that is not there becomes an empty text.
set(source "// Made from the files of the page.\n#include \"report/page.h\"\n\nnamespace report {\n")
foreach(name file IN ZIP_LISTS NAMES FILES)
  set(text "")
  if(EXISTS "${file}")
    file(READ "${file}" text)
  endif()
  string(APPEND source "\nconst std::string_view ${name} = R\"embedded(${text})embedded\";\n")
endforeach()
file(WRITE "${OUT}" "${source}\n}  // namespace report\n")
