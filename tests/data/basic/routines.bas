Dim x As Integer
top: x = x - 1 ' dec
x = x * 2
x = x / 3
If x < 2 Then
Endif
