// The packed texts as read-only data. ICU wants its data on a 16-byte boundary.
    .section .rodata
    .balign 16
    .global zun_strings_package
    .type zun_strings_package, %object
zun_strings_package:
    .incbin ZUN_STRINGS_FILE
    .size zun_strings_package, . - zun_strings_package
    .section .note.GNU-stack, "", %progbits
