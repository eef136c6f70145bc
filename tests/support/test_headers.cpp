// The program that the tests' precompiled headers are made for.
int main() {}
