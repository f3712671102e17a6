// Stands in for those application programs of the controller that have no picture. Runs until it is killed.

#include <unistd.h>

int main()
{
    for (;;)
        pause();
}
