#include <ku.h>
#include <string.h>

int main(void)
{
  CSint* order[4];
  int i;

  if (strcmp(cs_getVersion(), CLIENT_EXPECTS) != 0)
    return 1;
  cs_init();
  for (i = 0; i < 4; i++)
    order[i] = cs_createCSint(1, 4);
  if (!cs_AllNeq(order, 4) || !cs_Lt(order[0], order[3]) || !cs_NEQ(order[1], 2))
    return 2;
  if (!cs_search(order, 4, cs_findFreeVarNbElements))
    return 3;
  for (i = 0; i < 4; i++)
    printf("%d\n", cs_getValue(order[i]));
  cs_end();
  return 0;
}
