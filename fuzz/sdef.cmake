quillbox_fuzzer(sdef USES applescript)
