// Where the precompiled header is made.
int main() {}
