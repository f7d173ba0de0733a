NAME          TINY
ROWS
 N  COST
 L  LIM1
 G  LIM2
 E  MYEQN
 N  FREE2
COLUMNS
    X1        COST                 1   LIM1                 1
    X1        LIM2                 1
    X2        COST                 2   LIM1                 1
    X2        MYEQN               -1
    X3        COST                -1   MYEQN                1
    X3        FREE2                3
RHS
    RHS       COST                 5   LIM1                 4
    RHS       LIM2                 1   MYEQN                7
RANGES
    RNG       LIM1               2.5   LIM2                 3
    RNG       MYEQN               -2
BOUNDS
 UP BND       X1                   4
 MI BND       X2
 UP BND       X2                   1
ENDATA
