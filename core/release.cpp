// The release of the library as a note in its file, for programs that load it and for tools: the owner is "zar", the
// type 1, and the description the text of the version. The note is in a loaded segment, so a process can read it, too.
#include "zar/version.h"

asm(".pushsection .note.zar, \"a\", %note\n"
    ".balign 4\n"
    ".4byte 1f - 0f, 3f - 2f, 1\n"
    "0: .asciz \"zar\"\n"
    "1: .balign 4\n"
    "2: .asciz \"" ZAR_VERSION_STRING
    "\"\n"
    "3: .balign 4\n"
    ".popsection");
