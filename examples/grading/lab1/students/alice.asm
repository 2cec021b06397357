; Alice: count B down from 10 and add it.
        MVI B,10
        XRA A
LOOP:   ADD B
        DCR B
        JNZ LOOP
        STA 2050H
        MOV C,A             ; keep the sum while the text goes out
        LXI H,TEXT
SHOW:   MOV A,M
        ORA A
        JZ DONE
        OUT 01H
        INX H
        JMP SHOW
DONE:   MOV A,C
        HLT
TEXT:   .DB "DONE",0
        .END
