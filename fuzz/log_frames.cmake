quillbox_fuzzer(log_frames USES suggestions)
