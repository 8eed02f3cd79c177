quillbox_bench(filter_bench filter_bench.cpp USES mailboxes test_support)
