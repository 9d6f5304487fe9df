# Writes a C++ source whose function FUNCTION returns the bytes of FONT: cmake -D... -P embed_file.cmake
file(READ "${FONT}" hex HEX)
string(REGEX REPLACE "(................................)" "\\1\n" hex "${hex}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," hex "${hex}")
file(WRITE "${OUT}" "#include \"${HEADER}\"\n\nnamespace vistrame {\n\nnamespace {\n\n"
  "const std::uint8_t kBytes[] = {\n${hex}\n};\n\n} // namespace\n\n"
  "std::span<const std::uint8_t> ${FUNCTION}() {\n    return kBytes;\n}\n\n} // namespace vistrame\n")
