#include "startup/startup.h"

int main(int argc, char** argv)
{
    return runWebdeck(argc, argv);
}
