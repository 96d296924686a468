// A program built against the installed library through find_package: one
// server call through the C interface; prints the answer.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <iostream>
#include <string>

int main(int argc, char **argv) {
    if (argc != 4) return 2;
    setZelUrl(argv[1]);
    setZelUsername(argv[2]);
    setZelPassword(argv[3]);
    std::cout << VORKCoreCommCVersion() << " " << std::string(computerInventoryPrefs()) << "\n";
    return 0;
}
