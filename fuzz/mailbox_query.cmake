quillbox_fuzzer(mailbox_query USES mailboxes)
target_include_directories(fuzz_mailbox_query PRIVATE "${CMAKE_SOURCE_DIR}/tests")
