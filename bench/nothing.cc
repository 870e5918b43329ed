// An empty program, whose start is measured with and without the libraries.
int main() {
    return 0;
}
