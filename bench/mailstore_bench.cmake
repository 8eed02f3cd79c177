quillbox_bench(mailstore_bench mailstore_bench.cpp USES mailclient host/linux platform base LIBRARIES quillbox_test_support)
