quillbox_fuzzer(batch_commands USES cli)
