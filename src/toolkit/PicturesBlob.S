#if defined(__ELF__)
    .section .rodata
    .global zun_pictures_begin
    .global zun_pictures_end
    .balign 16
zun_pictures_begin:
    .incbin ZUN_PICTURES_BLOB
zun_pictures_end:
    .byte 0
    .section .note.GNU-stack,"",%progbits
#endif
