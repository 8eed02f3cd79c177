quillbox_bench(retrieval_bench retrieval_bench.cpp USES main host/linux LIBRARIES nlohmann_json::nlohmann_json)
add_dependencies(retrieval_bench quillboxctl)
