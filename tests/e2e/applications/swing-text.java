// swing-text FILE [pane | password]: a Swing text area, a styled text pane or a password field with the file's text;
// writes the file anew at every change. Swing leaves undo to the application; here Control-Z takes back a replacement,
// which is a removal and an insertion.
import java.awt.event.ActionEvent;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import javax.swing.AbstractAction;
import javax.swing.JFrame;
import javax.swing.JPasswordField;
import javax.swing.JScrollPane;
import javax.swing.JTextArea;
import javax.swing.JTextPane;
import javax.swing.KeyStroke;
import javax.swing.SwingUtilities;
import javax.swing.event.DocumentEvent;
import javax.swing.event.DocumentListener;
import javax.swing.text.BadLocationException;
import javax.swing.text.Document;
import javax.swing.text.JTextComponent;
import javax.swing.undo.UndoManager;

class SwingText {
    static JTextComponent make(String kind) {
        return switch (kind) {
            case "pane" -> new JTextPane();
            case "password" -> new JPasswordField();
            default -> new JTextArea();
        };
    }

    static void addUndo(JTextComponent field) {
        var manager = new UndoManager();
        field.getDocument().addUndoableEditListener(manager);
        field.getInputMap().put(KeyStroke.getKeyStroke("control Z"), "undo");
        field.getActionMap().put("undo", new AbstractAction() {
            @Override
            public void actionPerformed(ActionEvent event) {
                for (int edits = 0; edits < 2 && manager.canUndo(); ++edits)
                    manager.undo();
            }
        });
    }

    static void write(Document document, Path file) {
        try {
            Files.writeString(file, document.getText(0, document.getLength()));
        } catch (IOException | BadLocationException error) {
            throw new IllegalStateException(error);
        }
    }

    static void writeChanges(JTextComponent field, Path file) {
        field.getDocument().addDocumentListener(new DocumentListener() {
            @Override
            public void insertUpdate(DocumentEvent event) {
                write(field.getDocument(), file);
            }

            @Override
            public void removeUpdate(DocumentEvent event) {
                write(field.getDocument(), file);
            }

            @Override
            public void changedUpdate(DocumentEvent event) {}
        });
    }

    static void show(Path file, String kind) {
        try {
            var field = make(kind);
            field.setText(Files.readString(file));
            field.setCaretPosition(0);
            addUndo(field);
            writeChanges(field, file);
            var frame = new JFrame("Swing text");
            frame.add(new JScrollPane(field));
            frame.setSize(640, 360);
            frame.setDefaultCloseOperation(JFrame.EXIT_ON_CLOSE);
            frame.setVisible(true);
            field.requestFocusInWindow();
        } catch (IOException error) {
            throw new UncheckedIOException(error);
        }
    }

    public static void main(String[] arguments) {
        var kind = arguments.length > 1 ? arguments[1] : "area";
        SwingUtilities.invokeLater(() -> show(Path.of(arguments[0]), kind));
    }
}
