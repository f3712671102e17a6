// Only clang warns.
class Planted
{
    int unused = 0;
};
