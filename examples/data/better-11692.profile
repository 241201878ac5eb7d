Ku Profiler: Constraint 1.0
Ku-C Version: 3.8.0
start_time: 1795269985
end_time: 1795269985
platform: generic
format: text
__DATA__
diagonals	cs_AllNeq	4185	78
diagonals	cs_Sub	1534	14
diagonals	cs_Add	22	0
diagonals	cs_Sub	542	0
diagonals	cs_AllNeq	4261	81
diagonals	cs_Add	1536	9
diagonals	cs_Sub	150	0
diagonals	cs_Add	1806	12
diagonals	cs_Add	1512	26
columns	cs_AllNeq	4493	56
diagonals	cs_Add	1674	22
diagonals	cs_Add	150	0
diagonals	cs_Add	542	0
diagonals	cs_Sub	1822	9
diagonals	cs_Sub	1568	6
diagonals	cs_Add	1281	0
diagonals	cs_Sub	22	0
diagonals	cs_Sub	1290	0
diagonals	cs_Sub	1689	11
