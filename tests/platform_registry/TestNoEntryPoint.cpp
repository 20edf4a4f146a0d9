// A library in the right place under the right name but without the entry point.
extern "C" __attribute__((visibility("default"))) int zuv_test_not_an_entry_point() {
    return 1;
}
