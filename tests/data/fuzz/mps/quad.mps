NAME          QUAD
OBJSENSE
    MAX
ROWS
 N  obj
 L  c1
 L  q1
COLUMNS
    MARKER                 'MARKER'                 'INTORG'
    x         obj                  1   c1                   1
    y         obj                  1   c1                   1
    MARKER                 'MARKER'                 'INTEND'
    z         obj                  2   q1                   1
    w         c1                   1
RHS
    rhs       c1                  10   q1                   4
BOUNDS
 BV bnd       x
 LI bnd       y                   -2
 UI bnd       y                    3
 FR bnd       z
 PL bnd       w
QUADOBJ
    x         x                    2
    z         x                  0.5
QSECTION      q1
    z         z                    1
CSECTION      k1        0.0            QUAD
    w
    z
ENDATA
