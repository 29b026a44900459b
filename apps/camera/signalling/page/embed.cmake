# Writes INPUT to OUTPUT as a C++ array, so that the page is part of the program.
file(READ ${INPUT} bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
file(WRITE ${OUTPUT} "#include \"signalling/viewer_page.h\"\n\nnamespace zelrtc::camera {\n\nnamespace {\nconst char bytes[] = {\n${bytes}};\n}\n\n"
                     "const std::string_view kPage{bytes, sizeof bytes};\n\n}  // namespace zelrtc::camera\n")
