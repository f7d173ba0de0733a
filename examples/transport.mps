* examples/transport.mps: ship goods from two plants to three markets at least cost.
* Plant supplies 30 and 25, market demands 15, 20 and 18; the road from
* PLANT1 to MARKET3 carries at most 10. Minimal cost: 275.
NAME          TRANSPORT
ROWS
 N  COST
 L  PLANT1
 L  PLANT2
 G  MARKET1
 G  MARKET2
 G  MARKET3
COLUMNS
    X11       COST               4.0   PLANT1             1.0
    X11       MARKET1            1.0
    X12       COST               6.0   PLANT1             1.0
    X12       MARKET2            1.0
    X13       COST               9.0   PLANT1             1.0
    X13       MARKET3            1.0
    X21       COST               5.0   PLANT2             1.0
    X21       MARKET1            1.0
    X22       COST               3.0   PLANT2             1.0
    X22       MARKET2            1.0
    X23       COST               7.0   PLANT2             1.0
    X23       MARKET3            1.0
RHS
    RHS       PLANT1            30.0   PLANT2            25.0
    RHS       MARKET1           15.0   MARKET2           20.0
    RHS       MARKET3           18.0
BOUNDS
 UP BND       X13               10.0
ENDATA
