#include "tests/root/support/OwnWorldTests.h"

int main(int argc, char** argv) { return quillo::tests::runAllTestsInOwnWorld(argc, argv); }
