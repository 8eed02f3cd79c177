quillbox_bench(sync_bench sync_bench.cpp USES sync model base)
