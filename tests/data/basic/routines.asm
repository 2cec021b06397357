; Begin
	LXI H,0FF00H
	LXI SP,0FEFEH
; 1: Dim x As Integer
;       The address of 'x' is -2 (FEFEH)
; 2: top: x = x - 1 ' dec
L0001:	NOP
	LXI H,0FEFEH
	PUSH H
	LXI H,0FEFEH
	MOV A,M
	INX H
	MOV H,M
	MOV L,A
	PUSH H
	LXI H,0001H
	POP D
	CALL S001
	POP D
	MOV A,L
	STAX D
	INX D
	MOV A,H
	STAX D
; 3: x = x * 2
	LXI H,0FEFEH
	PUSH H
	LXI H,0FEFEH
	MOV A,M
	INX H
	MOV H,M
	MOV L,A
	PUSH H
	LXI H,0002H
	POP D
	CALL M001
	POP D
	MOV A,L
	STAX D
	INX D
	MOV A,H
	STAX D
; 4: x = x / 3
	LXI H,0FEFEH
	PUSH H
	LXI H,0FEFEH
	MOV A,M
	INX H
	MOV H,M
	MOV L,A
	PUSH H
	LXI H,0003H
	POP D
	CALL D001
	POP D
	MOV A,L
	STAX D
	INX D
	MOV A,H
	STAX D
; 5: If x < 2 Then
	LXI H,0FEFEH
	MOV A,M
	INX H
	MOV H,M
	MOV L,A
	PUSH H
	LXI H,0002H
	POP D
	CALL C005
	MOV A,H
	ORA L
	JZ L0002
; 6: Endif
L0002:	NOP
; End of program
	HLT
; Integer Subtraction Routine
S001:	MOV A,E
	SUB L
	MOV L,A
	MOV A,D
	SSB H
	MOV H,A
	RET
; Integer Multiplication Routine
M001:	MOV B,H
	MOV C,L
	LXI H,0000H
M002:	MOV A,C
	RRC
	JNC M003
	DAD D
M003:	XRA A
	MOV A,B
	RAR
	MOV B,A
	MOV A,C
	RAR
	MOV C,A
	ORA B
	RZ
	XRA A
	MOV A,E
	RAL
	MOV E,A
	MOV A,D
	RAL
	MOV D,A
	ORA E
	RZ
	JMP M002
; Integer Division Routine
D001:	MOV B,H
	MOV C,L
	MOV A,D
	XRA B
	PUSH PSW
	MOV A,D
	ORA A
	CM D005
	MOV A,B
	ORA A
	CM D006
	MVI A,10H
	PUSH PSW
	XCHG
	LXI D,0000H
D002:	DAD H
	CALL D007
	JZ D003
	CALL D008
	JM D003
	MOV A,L
	ORI 01H
	MOV L,A
	MOV A,E
	SUB C
	MOV E,A
	MOV A,D
	SBB B
	MOV D,A
D003:	POP PSW
	DCR A
	JZ D004
	PUSH PSW
	JMP D002
D004:	POP PSW
	RP
	CALL D005
	XCHG
	CALL D005
	XCHG
	RET
D005:	MOV A,D
	CMA
	MOV D,A
	MOV A,E
	CMA
	MOV E,A
	INX D
	RET
D006:	MOV A,B
	CMA
	MOV B,A
	MOV A,C
	CMA
	MOV C,A
	INX B
	RET
D007:	MOV A,E
	RAL
	MOV E,A
	MOV A,D
	RAL
	MOV D,A
	ORA E
	RET
D008:	MOV A,E
	SUB C
	MOV A,D
	SBB B
	RET
; Integer Comparison Routine
C001:	CALL C007
	RZ
	DCX H
	RET
C002:	CALL C007
	RNZ
	DCX H
	RET
C003:	XCHG
	CALL C007
	RC
	DCX H
	RET
C004:	CALL C007
	RNC
	DCX H
	RET
C005:	CALL C007
	RC
	DCX H
	RET
C006:	CALL C007
	RZ
	RC
	DCX H
	RET
C007:	MOV A,E
	SUB L
	MOV E,A
	MOV A,D
	SBB H
	LXI H,0001H
	JM C008
	ORA E
	RET
C008:	ORA E
	STC
	RET
; End of listing
	.END
