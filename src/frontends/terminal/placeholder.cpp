namespace tobrel { void placeholder_terminal() {} }
