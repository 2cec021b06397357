; forward references, EQU chains, lists, the top of memory and every error message
COUNT   EQU 10
   LIMIT EQU COUNT*2
BASE    .EQU TABLE+2
START:  LXI SP,STACK
        MVI B,COUNT
        lxi h,table
LOOP:   MOV A,M
        ADI LIMIT
        CPI 'z'
        JNC DONE
        CALL SHOW
        INX H
        DCR B
        JNZ LOOP
        JMP $+3
DONE:   HLT
SHOW:   OUT 0FEH
        RET
TABLE:  .DB "HELLO",0,-1,'A'+1,$
        DB 1010B,0FFH,255,-128
WORDS:  .DW START,DONE,-1,FWD,$
        DEFW 65535,-32768
        .DS 4
BUF:    DEFS 2
FWD:    LDA BASE
        STA BUF
        LHLD WORDS
        SHLD BUF+1
        MVI A,LATER
LATER   EQU 7
        MVI A,LATER
B       EQU 100H
        JMP B
        JMP B+0
FFH     EQU 3
        MVI C,FFH
START   NOP
a_very_long_label_name_of_33_chrs NOP
a_very_long_label_name_of_32_chr: NOP
        MVI A,256
        JMP -1
        MOV A,5
        .ORG FWD2
FWD2:   .DS -1
X       EQU NOWHERE
        .EQU 5
        .DB 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16
        .DW 70000
        .ORG 10000H
        .ORG 0FFFCH
STACK:  NOP
        JMP START
        NOP
        .DB 1
        .ORG 5DH
LAST:   RST 7
        .END
