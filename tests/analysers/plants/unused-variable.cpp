// GCC and clang warn, and warnings are errors.
int planted()
{
    int unused;
    return 0;
}
