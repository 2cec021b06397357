; Carol: the loop is right, but two lines do not assemble.
        MVI B,10
        XRA A
LOOP:   ADD B
        DCR B
        JNZ LOOP
        STA 2050H
        MOV Q,A
        OUT 01H
        JMP FINISH
        HLT
        .END
