Ku Profiler: Constraint 1.0
Ku-C Version: 3.8.0
start_time: 1700000000
platform: generic
format: text
__DATA__
plain	cs_Lt	5	1
first line
second	line	cs_Eq	40	0
<b>"A&B"</b>	cs_AllNeq	100	100
plain	cs_Lt	6	2
	cs_Neq	7	0
