#include <iostream>
#include <ku.h>
#include <stdexcept>
#include <string>
#include <vector>

// The run-time library that the solver does without is the client's own affair.
static void require(int success, const char* what)
{
  if (!success)
    throw std::runtime_error(what);
}

int main()
{
  try {
    require(std::string(cs_getVersion()) == CLIENT_EXPECTS, "another version");
    cs_init();
    std::vector<CSint*> order;
    for (int i = 0; i < 4; i++)
      order.push_back(cs_createCSint(1, 4));
    require(cs_AllNeq(order.data(), 4) && cs_Lt(order[0], order[3]) && cs_NEQ(order[1], 2), "no solution at posting");
    require(cs_search(order.data(), 4, cs_findFreeVarNbElements), "no solution");
    for (CSint* variable : order)
      std::cout << cs_getValue(variable) << '\n';
    cs_end();
    return 0;
  } catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
  }
}
