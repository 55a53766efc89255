1
Fields that a record has once
24
1
Control number

0
0





3
Control number identifier

0
0





5
Date and time of latest transaction

0
0





8
Fixed-length data elements

0
0





10
Library of Congress control number

0
0





40
Cataloging source

0
0





43
Geographic area code

0
0





45
Time period of content

0
0





66
Character sets present

0
0





100
Main entry: personal name

0
0





110
Main entry: corporate name

0
0





111
Main entry: meeting name

0
0





130
Main entry: uniform title

0
0





240
Uniform title

0
0





243
Collective uniform title

0
0





245
Title statement

0
0





254
Musical presentation statement

0
0





256
Computer file characteristics

0
0





263
Projected publication date

0
0





306
Playing time

0
0





357
Originator dissemination control

0
0





507
Scale note

0
0





514
Data quality note

0
0





1000
Record label

0
0





