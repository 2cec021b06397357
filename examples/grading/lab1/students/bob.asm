; Bob: counts up, but stops one number short.
        MVI B,1
        XRA A
LOOP:   ADD B
        INR B
        MOV C,A
        MOV A,B
        CPI 10
        MOV A,C
        JNZ LOOP
        STA 2050H
        MVI A,'D'
        OUT 01H
        MVI A,'O'
        OUT 01H
        MVI A,'N'
        OUT 01H
        MVI A,'E'
        OUT 01H
        MOV A,C
        HLT
        .END
