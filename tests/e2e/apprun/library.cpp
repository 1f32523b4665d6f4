int FUNCTION()
{
    return 7;
}
