// A C++ program that only starts: what the dynamic linker and the runtime cost before the first line of main.
#include <iostream>

int main() {
  std::cout << "0\n";
  return 0;
}
