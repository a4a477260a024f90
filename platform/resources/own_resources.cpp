// Compiled into the library that carries resources, and into programs that are made of the library's objects. The PE
// file with the resources becomes the content of a note, which is found by the headers of the image alone: in memory,
// and in the file.

#include "platform/resources/elf_note.h"

__asm__(
    ".pushsection .note.portwise, \"a\", %note\n"
    ".balign 4\n"
    ".long 2f - 1f, 4f - 3f, " PORTWISE_RESOURCE_NOTE_TYPE
    "\n"
    "1: .asciz \"" PORTWISE_RESOURCE_NOTE_NAME
    "\"\n"
    "2: .balign 4\n"
    "3: .incbin \"" PORTWISE_RESOURCE_IMAGE
    "\"\n"
    "4: .balign 4\n"
    ".popsection\n");
