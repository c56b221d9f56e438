"""What benchmarks/report and benchmarks/instructions are made of."""
