; A short tour of the built-in assembler: labels, EQU, lists, strings and a loop.
; Instructions are indented; a word in the first column is always a label.

COUNT   EQU 5               ; an EQU label may stand in the first column...
   PORT EQU 01H             ; ...or be indented
        .ORG 100H

START:  LXI SP,STACK        ; forward reference, settled in pass 2
        LXI H,TABLE
        MVI B,COUNT
        XRA A
LOOP:   ADD M               ; sum the table
        INX H
        DCR B
        JNZ LOOP
        STA RESULT
        OUT PORT
        LXI H,GREETING
SHOW:   MOV A,M
        ORA A
        JZ DONE
        OUT PORT+1
        INX H
        JMP SHOW
DONE:   HLT

TABLE:  .DB 1,2,3,4,5
RESULT: .DS 1
GREETING:
        .DB "HELLO 8085",0     ; a comma or a semicolon would cut the string
WORDS:  .DW START,$,-1
        .DS 16
STACK:  .END
