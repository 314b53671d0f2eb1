# Writes OUTPUT, a C++ source with the texts of the schema's numbered SQL files (FILES, separated by '|').
string(REPLACE "|" ";" files "${FILES}")
set(entries "")
set(expected 0)
foreach(file IN LISTS files)
  math(EXPR expected "${expected} + 1")
  get_filename_component(name "${file}" NAME)
  if(NOT name MATCHES "^0*([1-9][0-9]*)_.*\\.sql$" OR NOT CMAKE_MATCH_1 EQUAL expected)
    message(FATAL_ERROR "${name}: the SQL files are numbered 001, 002 and so on without gaps; expected ${expected}.")
  endif()
  file(READ "${file}" text)
  string(APPEND entries "    {${expected}, R\"sql(${text})sql\"},\n")
endforeach()
file(WRITE "${OUTPUT}" "// Generated from store/schema.
#include \"migrations.h\"

namespace fendrel::store {

std::span<const Migration> schemaMigrations() noexcept {
  static constexpr Migration migrations[] = {
${entries}  };
  return migrations;
}

}  // namespace fendrel::store
")
