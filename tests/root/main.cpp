#include "tests/root/support/world/OwnWorldTests.h"

int main(int argc, char** argv) { return quillo::tests::runAllTestsInOwnWorld(argc, argv); }
