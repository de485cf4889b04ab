#include "tests/root/support/world/OwnWorld.h"

int main(int argc, char** argv) { return quillo::tests::runAllTestsInOwnWorld(argc, argv); }
