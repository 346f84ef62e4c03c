// A file of its own, as the only one that is told where the sources lie: all others can come from a
// compiler's cache that another clone has filled.
#include "tests/support/testData.h"

std::filesystem::path testData()
{
    return TARNEL_TEST_DATA;
}
