# cmake -D DOCUMENT=file -D QUOTED=file -P check_quote.cmake: the document shows the file as it is.
file(READ ${DOCUMENT} document)
file(READ ${QUOTED} quoted)
string(FIND "${document}" "```cpp\n${quoted}```" position)
if(position EQUAL -1)
    message(FATAL_ERROR "${DOCUMENT} does not show ${QUOTED} as it is")
endif()
