namespace tobrel { void placeholder_json() {} }
