# Generates a source file that defines a string with the content of a text file.
#   cmake -DTEXT=FILE -DNAMESPACE=NAMESPACE -DNAME=NAME -DHEADER=HEADER -DOUT=FILE -P embed_text.cmake
file(READ ${TEXT} content)
file(WRITE ${OUT} "#include \"${HEADER}\"

const char *const ${NAMESPACE}::${NAME} = R\"~~~(${content})~~~\";
")
