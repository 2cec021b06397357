; A program for the keypad and display module (examples/modules/keypad.py): every key pressed is
; added to a running total, which the display shows in hex.
KEYS    EQU 10H             ; IN: the last key, FFH when none since the last read
DISPLAY EQU 11H             ; OUT: two seven-segment digits

START:  MVI B,0             ; the total
        MOV A,B
        OUT DISPLAY
WAIT:   IN KEYS
        CPI 0FFH
        JZ WAIT             ; no key yet
        ADD B
        MOV B,A
        OUT DISPLAY
        JMP WAIT
