"""What runs inside the sandbox, on the desktop's side."""
