#include "rcs.h"

#include <cstdio>

int main()
{
  cs_init();
  CSint* variables[] = {cs_createCSint(0, 3), cs_createCSint(0, 3)};
  if (!cs_Neq(variables[0], variables[1]) || !cs_search(variables, 2, cs_findFreeVar))
    return 1;
  std::printf("choice points: %d here, %d in the library\n", rcsNbChoicePoints, cs_getNbChoicePoints());
  bool same = rcsNbChoicePoints == 2 && cs_getNbChoicePoints() == 2;
  rcsNbFails = 77;
  std::printf("fails set here to 77: %d in the library\n", cs_getNbFails());
  same = same && cs_getNbFails() == 77;
  cs_end();
  return same ? 0 : 1;
}
