Ku Profiler: Constraint 1.0
platform: generic
__DATA__
plain	cs_Lt	5
