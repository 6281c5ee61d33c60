// Exists to compile the precompiled header of the tests.
int main() {}
